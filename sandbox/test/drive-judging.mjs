// What judges of the emulated drives share. They run inside a sandbox with drives and internet.

import { execFile } from 'node:child_process';
import { mkdtempSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { ProxyAgent } from 'undici';
import * as support from './drives-support.mjs';
import { command } from './support.mjs';

const sandbox = support.runningSandbox();
const { drives, folder, internet } = sandbox;
const kProxy = `http://${internet.proxyHost}:${internet.proxyPort}`;

/** Everything on the way to the public hosts. */
export const dispatcher = new ProxyAgent({
  uri: kProxy,
  requestTls: { ca: readFileSync(internet.caFile) },
});

const proxyVariables = {
  HTTPS_PROXY: kProxy,
  SSL_CERT_FILE: internet.caFile,
  REQUESTS_CA_BUNDLE: internet.caFile,
};

/** Tells the emulator of a service something about the usual account. */
export function tell(operation, service, facts) {
  return support.control(sandbox, 'POST', operation, { service, ...facts });
}

export function link(service) {
  return support.link(sandbox, service);
}

/**
 * rclone with one remote, "judged", of that type. Its access token is an old one, so that it has to
 * get another one first. Returns a function that runs a command and gives the lines it printed.
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
    `RCLONE_CONFIG_JUDGED_${name.toUpperCase()}`,
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

/** Runs a script by Debian's own Python, which has the vendor's client; gives its JSON answer. */
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

/** Prints what every question is answered: the value, or what `failure` makes of an error. */
export async function answerAll(questions, failure) {
  const answers = {};
  for (const [question, ask] of Object.entries(questions)) {
    try {
      answers[question] = await ask();
    } catch (error) {
      answers[question] = failure(error);
    }
  }
  process.stdout.write(JSON.stringify(answers));
}
