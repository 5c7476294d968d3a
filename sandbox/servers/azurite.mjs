// Azurite: Azure Blob Storage in memory, in the version that package.json names.

import { randomBytes } from 'node:crypto';
import { existsSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { requireCommands } from '../processes.mjs';
import { reservePorts, waitForPorts } from '../ports.mjs';
import { kAzureDomains } from './public-hosts.mjs';

const kSandboxFolder = fileURLToPath(new URL('..', import.meta.url));
const kProgram = join(kSandboxFolder, 'node_modules', 'azurite', 'dist', 'src', 'blob', 'main.js');

/** Starts Azurite and returns its endpoint and the keys of its two accounts. */
export async function startAzurite({ processes }) {
  requireCommands({ setpriv: 'util-linux' });
  requirePackage();
  const ports = await reservePorts('blob');
  const [main, other] = [makeAccount(), makeAccount()];
  // Through the environment, for a key on a command line could be read by anybody.
  const accounts = [main, other].map(({ name, key }) => `${name}:${key}`).join(';');
  const address = ['--blobHost', '127.0.0.1', '--blobPort', `${ports.blob}`];
  processes.server(
    'azurite',
    process.execPath,
    [kProgram, '--inMemoryPersistence', ...address, '--silent'],
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

function requirePackage() {
  if (existsSync(kProgram)) return;
  const install = `npm ci --ignore-scripts --prefix ${kSandboxFolder}`;
  throw new Error(`the npm package azurite is not installed; run: ${install}`);
}

function makeAccount() {
  return {
    name: `sandbox${randomBytes(6).toString('hex')}`,
    key: randomBytes(64).toString('base64'),
  };
}
