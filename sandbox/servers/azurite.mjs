// Azurite: Azure Blob Storage in memory, in the version given in package.json.

import { randomBytes } from 'node:crypto';
import { join } from 'node:path';
import { packageFolder } from '../packages.mjs';
import { requireCommands } from '../processes.mjs';
import { reservePorts, waitForPorts } from '../ports.mjs';
import { kAzureDomains } from './public-hosts.mjs';

/** Starts Azurite and returns its endpoint and the keys of its two accounts. */
export async function startAzurite({ processes }) {
  requireCommands({ setpriv: 'util-linux' });
  const program = join(packageFolder('azurite'), 'dist', 'src', 'blob', 'main.js');
  const ports = await reservePorts('blob');
  const [main, other] = [makeAccount(), makeAccount()];
  // In the environment, because every user can read a key on a command line.
  const accounts = [main, other].map(({ name, key }) => `${name}:${key}`).join(';');
  const address = ['--blobHost', '127.0.0.1', '--blobPort', `${ports.blob}`];
  processes.server(
    'azurite',
    process.execPath,
    [program, '--inMemoryPersistence', ...address, '--silent'],
    { AZURITE_ACCOUNTS: accounts },
  );
  await waitForPorts(Object.values(ports), { signal: processes.stopping });

  return {
    endpoint: `http://127.0.0.1:${ports.blob}/${main.name}`,
    host: `${main.name}.${kAzureDomains[0]}`,
    accountName: main.name,
    accessKey: main.key,
    otherAccountName: other.name,
    otherAccessKey: other.key,
  };
}

function makeAccount() {
  return {
    name: `sandbox${randomBytes(6).toString('hex')}`,
    key: randomBytes(64).toString('base64'),
  };
}
