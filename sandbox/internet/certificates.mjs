// A certificate authority that exists as long as the sandbox and issues certificates on demand.

import { execFile } from 'node:child_process';
import { readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { createSecureContext } from 'node:tls';
import { promisify } from 'node:util';

const run = promisify(execFile);
const kDays = '30';

// Explicit, so that the machine's own openssl.cnf has no influence.
const kConfiguration = `[req]
distinguished_name = name
prompt = no
[name]
O = Loopback sandbox
[authority]
basicConstraints = critical, CA:TRUE
keyUsage = critical, keyCertSign, cRLSign
subjectKeyIdentifier = hash
[leaf]
basicConstraints = critical, CA:FALSE
keyUsage = critical, digitalSignature
extendedKeyUsage = serverAuth
subjectKeyIdentifier = hash
authorityKeyIdentifier = keyid
`;

export class CertificateAuthority {
  #folder;
  #leafKey;
  #contexts = new Map();

  static async create(folder) {
    const authority = new CertificateAuthority();
    authority.#folder = folder;
    await writeFile(authority.#path('openssl.cnf'), kConfiguration);
    await authority.#makeKey('ca.key');
    await authority.#makeKey('leaf.key');
    authority.#leafKey = await readFile(authority.#path('leaf.key'));
    await authority.#certify('ca.key', 'authority', ['-out', authority.caFile]);
    return authority;
  }

  get caFile() {
    return this.#path('ca.pem');
  }

  /** The TLS context with a certificate for `host`; made once per host. */
  secureContext(host) {
    if (!this.#contexts.has(host)) this.#contexts.set(host, this.#issue(host));
    return this.#contexts.get(host);
  }

  async #issue(host) {
    if (!/^[a-z0-9._-]+$/.test(host)) throw new Error('not a host name');
    const authority = ['-CA', this.caFile, '-CAkey', this.#path('ca.key')];
    // The host is in the alternative names only: a common name is limited to 64 characters.
    const names = ['-addext', `subjectAltName = DNS:${host}`];
    const cert = await this.#certify('leaf.key', 'leaf', [...authority, ...names]);
    return createSecureContext({ key: this.#leafKey, cert });
  }

  #makeKey(name) {
    const curve = ['-algorithm', 'EC', '-pkeyopt', 'ec_paramgen_curve:P-256'];
    return run('openssl', ['genpkey', ...curve, '-out', this.#path(name)]);
  }

  async #certify(key, extensions, more) {
    const what = ['-config', this.#path('openssl.cnf'), '-extensions', extensions];
    const args = [
      'req',
      '-x509',
      '-new',
      ...what,
      '-key',
      this.#path(key),
      '-days',
      kDays,
      ...more,
    ];
    return (await run('openssl', args)).stdout;
  }

  #path(name) {
    return join(this.#folder, name);
  }
}
