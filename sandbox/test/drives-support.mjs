// What the tests of the drives share: the user's and the application's way to a token.

import { readFileSync } from 'node:fs';
import { join } from 'node:path';
import { Browser, formRequest } from '../browser.mjs';
import { readState } from '../state.mjs';
import { removeFolder, sandbox as runSandbox, temporaryFolder } from './support.mjs';

/** The running sandbox, as `run` tells its command. */
export function runningSandbox() {
  return JSON.parse(readFileSync(process.env.VEMLO_SANDBOX_STATE, 'utf8'));
}

/** The address that asks a user of the service for consent, to an offline grant if nothing else. */
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

/** Plays the user; returns the query with which the redirect page was reached. */
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
  const answer = await new Browser(internet).send(tokenEndpoint, request);
  return { status: answer.status, json: JSON.parse(answer.text) };
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

/** Asks the control endpoint of the drives. */
export async function control({ drives }, method, what, body) {
  const answer = await fetch(`${drives.control}/${what}`, { method, body: JSON.stringify(body) });
  const text = await answer.text();
  if (!answer.ok) throw new Error(`control: ${text}`);
  return text === '' ? undefined : JSON.parse(text);
}

/** A sandbox with drives and internet for the tests of one file: its state, and how to stop it. */
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
