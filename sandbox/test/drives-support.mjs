// Helpers for the tests of the drives: the steps of the user and of the application to a token.

import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { Browser, formRequest } from '../browser.mjs';
import { readState } from '../state.mjs';
import { removeFolder, sandbox as runSandbox, temporaryFolder } from './support.mjs';

/** The state of the sandbox in which `run` started this process. */
export function runningSandbox() {
  return JSON.parse(readFileSync(process.env.VEMLO_SANDBOX_STATE, 'utf8'));
}

/** The service's authorization address, by default for offline access. */
export function authorizationUrl({ drives }, service, changes = {}) {
  const { authorizationEndpoint, clientId, scope } = drives.services[service];
  const query = {
    client_id: clientId,
    response_type: 'code',
    redirect_uri: drives.redirectUri,
    scope,
    access_type: 'offline',
    prompt: 'consent',
    token_access_type: 'offline',
    ...changes,
  };
  const given = Object.entries(query).filter(([, value]) => value !== undefined);
  return `${authorizationEndpoint}?${new URLSearchParams(given)}`;
}

/** Submits the user's decision; returns the query of the redirect page. */
export async function decide({ drives, internet }, url, { decision = 'allow', account } = {}) {
  const browser = new Browser(internet);
  const page = await browser.open(url);
  const form = { decision, account: account ?? drives.account };
  const end = await browser.open(page.url, new URLSearchParams(form));
  return new URL(end.url).searchParams;
}

/** One token request; returns { status, json }. */
export async function requestToken({ drives, internet }, service, form) {
  const { tokenEndpoint, clientId, clientSecret } = drives.services[service];
  const body = { client_id: clientId, client_secret: clientSecret, ...form };
  const request = formRequest(new URLSearchParams(body));
  const { status, text } = await new Browser(internet).send(tokenEndpoint, request);
  return { status, json: JSON.parse(text) };
}

export function exchange(sandbox, service, code, changes = {}) {
  const form = { grant_type: 'authorization_code', code };
  return requestToken(sandbox, service, {
    ...form,
    redirect_uri: sandbox.drives.redirectUri,
    ...changes,
  });
}

export function refresh(sandbox, service, refreshToken) {
  const form = { grant_type: 'refresh_token', refresh_token: refreshToken };
  return requestToken(sandbox, service, form);
}

/** The tokens of an account of the service, from consent to exchange. */
export async function link(sandbox, service, { account } = {}) {
  const end = await decide(sandbox, authorizationUrl(sandbox, service), { account });
  return (await exchange(sandbox, service, end.get('code'))).json;
}

/** One request to the control endpoint of the drives. */
export async function control({ drives }, method, what, body) {
  const response = await fetch(`${drives.control}/${what}`, { method, body: JSON.stringify(body) });
  const text = await response.text();
  if (!response.ok) throw new Error(`control: ${text}`);
  return text === '' ? undefined : JSON.parse(text);
}

/** Starts a sandbox with drives and internet; returns its { file, running, stop }. */
export async function startDrives() {
  const folder = await temporaryFolder();
  const file = join(folder, 'state.json');
  const parts = ['--drives', '--internet', '--parent', `${process.pid}`];
  const { code, stdout } = await runSandbox(['start', '--state', file, ...parts]);
  if (code !== 0) throw new Error(stdout);
  return {
    file,
    running: await readState(file),
    stop: async () => {
      await runSandbox(['stop', '--state', file]);
      await removeFolder(folder);
    },
  };
}
