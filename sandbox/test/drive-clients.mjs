// The common part of the independent clients that check the emulated drives. They run in a sandbox
// with the parts drives and internet.

import { execFile } from 'node:child_process';
import { mkdtempSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { ProxyAgent } from 'undici';
import * as support from './drives-support.mjs';
import { command } from './support.mjs';

const sandbox = support.runningSandbox();
const { drives, folder, internet } = sandbox;
const kProxy = `http://${internet.proxyHost}:${internet.proxyPort}`;

/** Sends the requests of undici's fetch through the proxy. */
export const dispatcher = new ProxyAgent({
  uri: kProxy,
  requestTls: { ca: readFileSync(internet.caFile) },
});

const proxyVariables = {
  HTTPS_PROXY: kProxy,
  SSL_CERT_FILE: internet.caFile,
  REQUESTS_CA_BUNDLE: internet.caFile,
};

/** One request to the control endpoint of the drives, for the default account of a service. */
export function controlDrive(operation, service, facts) {
  return support.control(sandbox, 'POST', operation, { service, ...facts });
}

export function link(service) {
  return support.link(sandbox, service);
}

/**
 * rclone with one remote, "checked", of that type. Its access token has expired, so that it has to
 * refresh it first. Returns a function that runs a command and returns the lines of its output.
 */
export function rclone(type, service, tokens, settings = {}) {
  const { clientId, clientSecret } = drives.services[service];
  const token = { ...tokens, access_token: 'old', expiry: '2020-01-01T00:00:00Z' };
  const all = {
    type,
    client_id: clientId,
    client_secret: clientSecret,
    token: JSON.stringify(token),
    ...settings,
  };
  const variables = Object.entries(all).map(([name, value]) => [
    `RCLONE_CONFIG_CHECKED_${name.toUpperCase()}`,
    value,
  ]);
  const home = mkdtempSync(join(folder, 'rclone-'));
  const env = { ...process.env, ...proxyVariables, ...Object.fromEntries(variables) };
  const common = [
    '--config',
    join(home, 'rclone.conf'),
    '--retries',
    '1',
    '--low-level-retries',
    '1',
  ];
  return async (...args) => {
    const { code, stdout, stderr } = await command('rclone', [...common, ...args], { env });
    if (code !== 0) throw new Error(`rclone ${args.join(' ')}: ${stderr}`);
    return stdout.split('\n').filter(Boolean);
  };
}

/** Runs a script with Debian's Python, which has the vendor's client; returns its JSON output. */
export function python(script, facts) {
  const env = { ...process.env, ...proxyVariables };
  return new Promise((resolve, reject) => {
    const child = execFile('/usr/bin/python3', [script], { env }, (error, stdout, stderr) => {
      if (error) reject(new Error(`${script}: ${stderr}`));
      else resolve(JSON.parse(stdout));
    });
    child.stdin.end(JSON.stringify({ ...facts, proxy: kProxy }));
  });
}

/** Runs every check and prints the results; `describeError` converts an error to a result. */
export async function printResults(checks, describeError) {
  const results = {};
  for (const [name, check] of Object.entries(checks)) {
    try {
      results[name] = await check();
    } catch (error) {
      results[name] = describeError(error);
    }
  }
  process.stdout.write(JSON.stringify(results));
}
