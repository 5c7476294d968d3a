// The loopback internet: two proxies, one open and one that requires a credential. Both use the
// same table of hosts, list of faults and log.

import { randomBytes } from 'node:crypto';
import { startControl } from '../control.mjs';
import { requireCommands } from '../processes.mjs';
import { CertificateAuthority } from './certificates.mjs';
import { Faults } from './faults.mjs';
import { Proxy } from './proxy.mjs';
import { RequestLog } from './request-log.mjs';
import { Routes } from './routes.mjs';

/** `routes` are { host, target }; keys and certificates are written to `folder`. */
export async function startInternet({ folder, routes }) {
  requireCommands({ openssl: 'openssl' });
  const shared = {
    routes: new Routes(routes),
    faults: new Faults(),
    log: new RequestLog(),
    authority: await CertificateAuthority.create(folder),
  };
  const credential = { user: 'sandbox', password: randomBytes(12).toString('hex') };
  const open = new Proxy('open', shared);
  const authenticating = new Proxy('auth', shared, credential);
  const control = await startControl(controlActions(shared));

  return {
    state: {
      proxyHost: '127.0.0.1',
      proxyPort: await open.listen(),
      authProxyPort: await authenticating.listen(),
      proxyUser: credential.user,
      proxyPassword: credential.password,
      caFile: shared.authority.caFile,
      control: control.url,
      hosts: routes.map(({ host }) => host),
    },
    stop: () => Promise.all([open.stop(), authenticating.stop(), control.stop()]),
  };
}

function controlActions({ routes, faults, log }) {
  return {
    'GET /faults': () => faults.list(),
    'POST /faults': (body) => faults.add(body),
    'DELETE /faults': () => faults.clear(),
    'GET /log': () => log.list(),
    'DELETE /log': () => log.clear(),
    'GET /routes': () => routes.list(),
    'POST /routes': (body) => routes.add(body),
    'DELETE /routes': () => routes.reset(),
  };
}
