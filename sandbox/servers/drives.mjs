// The drive services: one process with the authorization servers and emulated APIs of all four.

import { fileURLToPath } from 'node:url';
import { kAccounts, kClients, kRedirectUri } from '../drives/clients.mjs';
import { kServices } from '../drives/oauth/services.mjs';
import { packageFolder } from '../packages.mjs';
import { requireCommands } from '../processes.mjs';
import { reservePorts, waitForPorts } from '../ports.mjs';

const kProgram = fileURLToPath(new URL('../drives/main.mjs', import.meta.url));

export async function startDrives({ processes }) {
  requireCommands({ setpriv: 'util-linux' });
  packageFolder('oidc-provider');
  const ports = await reservePorts('public', 'control');
  const args = [kProgram, `${ports.public}`, `${ports.control}`];
  processes.server('drives', process.execPath, args);
  await waitForPorts(Object.values(ports), { signal: processes.stopping });

  return {
    endpoint: `http://127.0.0.1:${ports.public}`,
    control: `http://127.0.0.1:${ports.control}`,
    redirectUri: kRedirectUri,
    ...kAccounts,
    services: Object.fromEntries(
      Object.entries(kServices).map(([name, service]) => [name, describe(name, service)]),
    ),
  };
}

// What a program needs to obtain tokens.
function describe(name, { authorization, token, scopes }) {
  return {
    ...kClients[name],
    authorizationEndpoint: `https://${authorization}`,
    tokenEndpoint: `https://${token}`,
    scope: scopes.join(' '),
  };
}
