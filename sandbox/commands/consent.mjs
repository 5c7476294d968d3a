// `consent`: acts as a browser and its user on an authorization page of the sandbox.

import { Browser } from '../browser.mjs';
import { readState } from '../state.mjs';

/** Prints the address of the redirect page, query included. */
export async function consent({ file, url, deny, account }) {
  const state = file && (await readState(file));
  if (!state?.drives || !state.internet)
    throw new Error('consent needs a sandbox with the parts drives and internet');
  const browser = new Browser(state.internet);
  const page = await browser.open(url);
  if (isRedirectPage(page, state)) throw new Error('there was no page to consent on');
  const form = { decision: deny ? 'deny' : 'allow', account: account ?? state.drives.account };
  const end = await browser.open(page.url, new URLSearchParams(form));
  if (!isRedirectPage(end, state)) throw new Error(`the way ended at ${end.url}`);
  process.stdout.write(`${end.url}\n`);
  return 0;
}

function isRedirectPage({ url }, { drives }) {
  return url.split('?')[0] === drives.redirectUri;
}
