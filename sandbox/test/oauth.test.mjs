import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, beforeEach, describe, it } from 'node:test';
import { Browser } from '../browser.mjs';
import { redirectPage } from '../drives/oauth/pages.mjs';
import {
  authorizationUrl,
  control,
  decide,
  exchange,
  link,
  refresh,
  requestToken,
  startDrives,
} from './drives-support.mjs';
import { command, kCommandLine } from './support.mjs';

const kServices = ['google', 'amazon', 'microsoft', 'dropbox'];
const kRefreshScope = 'offline_access';
// For each API, a request that needs only a token.
const kCalls = {
  google: { url: 'https://www.googleapis.com/drive/v3/files/root' },
  amazon: { url: 'https://drive.amazonaws.com/drive/v1/account/endpoint' },
  microsoft: { url: 'https://graph.microsoft.com/v1.0/me/drive' },
  dropbox: {
    url: 'https://api.dropboxapi.com/2/files/list_folder',
    method: 'POST',
    headers: { 'Content-Type': 'application/json' },
    body: '{"path":""}',
  },
};

let drives;
let running;

before(async () => {
  drives = await startDrives();
  running = drives.running;
});

after(() => drives.stop());

beforeEach(() => control(running, 'DELETE', 'tokens'));

async function authorize(service, changes, decision) {
  return decide(running, authorizationUrl(running, service, changes), { decision });
}

async function tokensFor(service, changes) {
  const end = await authorize(service, changes);
  return exchange(running, service, end.get('code'));
}

/** The API's response to a request with the token. */
async function callApi(service, token) {
  const { url, headers, ...request } = kCalls[service];
  const bearer = token === undefined ? {} : { Authorization: `Bearer ${token}` };
  return new Browser(running.internet).send(url, {
    ...request,
    headers: { ...headers, ...bearer },
  });
}

async function apiStatus(service, token) {
  return (await callApi(service, token)).status;
}

function outcome({ status, json }) {
  return [status, json.error];
}

for (const service of kServices) {
  describe(`the way to a token of ${service}`, () => {
    it('leads through consent to a token that the API accepts', async () => {
      const end = await authorize(service);
      assert.equal(end.get('error'), null);
      const { status, json } = await exchange(running, service, end.get('code'));
      assert.equal(status, 200);
      assert.match(json.token_type, /^bearer$/i);
      assert.ok(json.refresh_token);
      assert.ok(json.expires_in >= 3599);
      assert.equal(await apiStatus(service, json.access_token), 200);
    });

    it('ends on the redirect page when the user denies', async () => {
      const end = await authorize(service, {}, 'deny');
      assert.equal(end.get('error'), 'access_denied');
      assert.equal(end.get('code'), null);
    });

    it('accepts a code once, and revokes its tokens when it is used again', async () => {
      const end = await authorize(service);
      const { json } = await exchange(running, service, end.get('code'));
      const again = await exchange(running, service, end.get('code'));
      assert.deepEqual(outcome(again), [400, 'invalid_grant']);
      assert.notEqual(await apiStatus(service, json.access_token), 200);
      const refreshed = await refresh(running, service, json.refresh_token);
      assert.deepEqual(outcome(refreshed), [400, 'invalid_grant']);
    });

    it('ends at a code or refresh token that was never issued', async () => {
      const exchanged = await exchange(running, service, 'junk');
      assert.deepEqual(outcome(exchanged), [400, 'invalid_grant']);
      const refreshed = await refresh(running, service, 'junk');
      assert.deepEqual(outcome(refreshed), [400, 'invalid_grant']);
    });

    it('ends at a wrong secret, after which the code is still valid', async () => {
      const code = (await authorize(service)).get('code');
      const wrong = await exchange(running, service, code, { client_secret: 'wrong' });
      assert.equal(wrong.json.error, 'invalid_client');
      assert.equal(wrong.status, service === 'dropbox' ? 400 : 401);
      assert.equal((await exchange(running, service, code)).status, 200);
    });

    it('ends at a redirect URI that is not the one of the request', async () => {
      const code = (await authorize(service)).get('code');
      const changes = { redirect_uri: `${running.drives.redirectUri}/` };
      const { status, json } = await exchange(running, service, code, changes);
      const expected = service === 'google' ? 'redirect_uri_mismatch' : 'invalid_grant';
      assert.deepEqual([status, json.error], [400, expected]);
    });

    it('refuses any other application, redirect URI or scope', async () => {
      for (const changes of [
        { client_id: 'somebody' },
        { redirect_uri: 'https://elsewhere.example/redirect.php' },
        { scope: 'everything' },
      ]) {
        const url = authorizationUrl(running, service, changes);
        await assert.rejects(new Browser(running.internet).open(url), /^Error: HTTP 400: /);
      }
    });

    it('refreshes, and counts the token requests', async () => {
      const { json } = await tokensFor(service);
      const refreshed = await refresh(running, service, json.refresh_token);
      assert.equal(refreshed.status, 200);
      assert.notEqual(refreshed.json.access_token, json.access_token);
      assert.equal(await apiStatus(service, refreshed.json.access_token), 200);
      await refresh(running, service, 'junk');
      const counters = (await control(running, 'GET', 'tokens'))[service];
      assert.deepEqual(counters, { exchanges: 1, refreshes: 2, refused: 1 });
    });

    it('keeps or replaces the refresh token as configured', async () => {
      const refreshToken = (await tokensFor(service)).json.refresh_token;
      const rotate = (rotation) => control(running, 'POST', 'rotation', { service, rotation });

      await rotate('replace');
      const replaced = (await refresh(running, service, refreshToken)).json.refresh_token;
      assert.ok(replaced && replaced !== refreshToken);
      assert.equal((await refresh(running, service, refreshToken)).status, 200);

      await rotate('replaceOnce');
      const last = (await refresh(running, service, replaced)).json.refresh_token;
      assert.ok(last && last !== replaced);
      assert.equal((await refresh(running, service, replaced)).status, 400);
      assert.equal((await refresh(running, service, last)).status, 400);
    });

    it('lets tokens expire and be revoked', async () => {
      const { json } = await tokensFor(service);
      await control(running, 'POST', 'expire', { service });
      assert.equal(await apiStatus(service, json.access_token), 401);
      const fresh = (await refresh(running, service, json.refresh_token)).json.access_token;
      assert.equal(await apiStatus(service, fresh), 200);

      await control(running, 'POST', 'revoke', { service });
      const refused = await refresh(running, service, json.refresh_token);
      assert.deepEqual(outcome(refused), [400, 'invalid_grant']);
      assert.equal(await apiStatus(service, fresh), 200);
    });

    it('lists every issued code and token', async () => {
      const code = (await authorize(service)).get('code');
      const { json } = await exchange(running, service, code);
      const issued = await control(running, 'GET', 'issued');
      const given = [code, json.access_token, json.refresh_token];
      assert.deepEqual(
        given.map((secret) => issued.includes(secret)),
        [true, true, true],
      );
    });

    it('issues tokens with the configured lifetime', async () => {
      await control(running, 'POST', 'lifetime', { service, seconds: 7 });
      assert.equal((await tokensFor(service)).json.expires_in, 7);
    });

    it('is refused to requests without a token or with an invalid one', async () => {
      assert.equal(await apiStatus(service), service === 'dropbox' ? 400 : 401);
      assert.ok([400, 401].includes(await apiStatus(service, 'made-up')));
    });
  });
}

describe('a refresh token', () => {
  it('is issued by Google for offline access and prompted consent only', async () => {
    for (const changes of [{ access_type: undefined }, { prompt: undefined }]) {
      const { status, json } = await tokensFor('google', changes);
      assert.deepEqual([status, json.refresh_token], [200, undefined]);
    }
  });

  it('is issued by Microsoft for the scope offline_access only', async () => {
    const { scope } = running.drives.services.microsoft;
    const { status, json } = await tokensFor('microsoft', {
      scope: scope.replace(` ${kRefreshScope}`, ''),
    });
    assert.deepEqual([status, json.refresh_token], [200, undefined]);
  });

  it('is issued by Dropbox for offline access only', async () => {
    const { status, json } = await tokensFor('dropbox', { token_access_type: undefined });
    assert.deepEqual([status, json.refresh_token], [200, undefined]);
  });

  for (const [service, expected] of [
    ['google', 'none'],
    ['dropbox', 'none'],
    ['amazon', 'the same'],
    ['microsoft', 'another'],
  ]) {
    it(`comes with a refresh of ${service}: ${expected}`, async () => {
      const first = (await tokensFor(service)).json.refresh_token;
      const second = (await refresh(running, service, first)).json.refresh_token;
      const what = second === undefined ? 'none' : second === first ? 'the same' : 'another';
      assert.equal(what, expected);
      assert.equal((await refresh(running, service, first)).status, 200);
    });
  }
});

describe('the services', () => {
  it('report failures in their own formats', async () => {
    const google = await refresh(running, 'google', 'junk');
    assert.deepEqual(google.json, {
      error: 'invalid_grant',
      error_description: 'Token has been expired or revoked.',
    });
    const amazon = await refresh(running, 'amazon', 'junk');
    const members = ['error_index', 'error_description', 'error', 'request_id'];
    assert.deepEqual(Object.keys(amazon.json), members);
    const microsoft = await refresh(running, 'microsoft', 'junk');
    assert.match(microsoft.json.error_description, /^AADSTS70008: .+\r\nTrace ID: .+\r\n/);
    assert.deepEqual(microsoft.json.error_codes, [70008]);
    const dropbox = await exchange(running, 'dropbox', 'junk');
    assert.equal(dropbox.json.error_description, "code doesn't exist or has expired");
  });

  it('refuse unknown grant types', async () => {
    for (const service of kServices) {
      const response = await requestToken(running, service, { grant_type: 'password' });
      assert.deepEqual(outcome(response), [400, 'unsupported_grant_type']);
    }
  });

  it('refuse the tokens of other services', async () => {
    const { access_token: token } = await link(running, 'google');
    assert.ok([400, 401].includes(await apiStatus('microsoft', token)));
  });

  it('sign in any account, each with a drive of its own', async () => {
    const root = async (account) => {
      const { access_token: token } = await link(running, 'google', { account });
      return JSON.parse((await callApi('google', token)).text).id;
    };
    const { account, otherAccount } = running.drives;
    assert.equal(await root(account), await root(account));
    assert.notEqual(await root(account), await root(otherAccount));
  });

  it('grant all scopes of the application if a request to Dropbox names none', async () => {
    const { json } = await tokensFor('dropbox', { scope: undefined });
    assert.match(json.scope, /files\.metadata\.read/);
  });

  it('refuse both prompt and approval_prompt in one request to Google', async () => {
    const url = authorizationUrl(running, 'google', { approval_prompt: 'force' });
    await assert.rejects(new Browser(running.internet).open(url), /Conflict params/);
  });

  it('redirect to the application after a sign-out of Microsoft', async () => {
    const { authorizationEndpoint } = running.drives.services.microsoft;
    const query = new URLSearchParams({ post_logout_redirect_uri: running.drives.redirectUri });
    const url = `${authorizationEndpoint.replace(/authorize$/, 'logout')}?${query}`;
    assert.equal((await new Browser(running.internet).open(url)).url, running.drives.redirectUri);
  });
});

describe('the pages', () => {
  it('show the code, and escape markup', () => {
    const shown = redirectPage(new URLSearchParams({ code: '4/0"><script>&' }));
    assert.ok(shown.includes('<code id="code">4/0&quot;&gt;&lt;script&gt;&amp;</code>'));
    const error = redirectPage(new URLSearchParams({ error: '<b>', error_description: "'" }));
    assert.ok(error.includes('<code id="error">&lt;b&gt;</code> &#39;'));
  });

  it('request consent once, with the application and its scopes', async () => {
    const browser = new Browser(running.internet);
    const page = await browser.open(authorizationUrl(running, 'dropbox'));
    assert.ok(page.text.includes(running.drives.services.dropbox.clientId));
    assert.ok(page.text.includes('files.content.write'));
    const form = new URLSearchParams({ decision: 'allow' });
    await browser.open(page.url, form);
    await assert.rejects(browser.open(page.url, form), /HTTP 404/);
  });
});

describe('the command consent', () => {
  const consent = (...args) =>
    command(process.execPath, [kCommandLine, 'consent', '--state', drives.file, ...args]);

  it('prints the address of the redirect page', async () => {
    const allowed = await consent(authorizationUrl(running, 'google'));
    assert.equal(allowed.code, 0, allowed.stderr);
    const end = new URL(allowed.stdout.trim());
    assert.equal(`${end.origin}${end.pathname}`, running.drives.redirectUri);
    const response = await exchange(running, 'google', end.searchParams.get('code'));
    assert.equal(response.status, 200);

    const denied = await consent('--deny', authorizationUrl(running, 'google'));
    assert.match(denied.stdout, /\?error=access_denied&/);
  });

  it('reports why there is no consent page', async () => {
    const { code, stderr } = await consent(authorizationUrl(running, 'google', { scope: 'x' }));
    assert.equal(code, 1);
    assert.match(stderr, /HTTP 400: .*invalid_scope/);
  });
});

describe('the control endpoint', () => {
  for (const [what, body] of [
    ['expire', { service: 'nobody' }],
    ['lifetime', { service: 'google', seconds: 0 }],
    ['rotation', { service: 'google', rotation: 'sometimes' }],
    ['seed', { service: 'google', parent: 'nowhere' }],
    ['configure', { service: 'google', mood: 'good' }],
  ]) {
    it(`rejects ${what} ${JSON.stringify(body)}`, async () => {
      await assert.rejects(control(running, 'POST', what, body), /^Error: control: /);
    });
  }
});

it('the log holds no token, code or secret', async () => {
  const end = await authorize('google');
  const { json } = await exchange(running, 'google', end.get('code'));
  const log = await readFile(join(running.folder, 'logs', 'drives', 'drives.log'), 'utf8');
  const secret = running.drives.services.google.clientSecret;
  for (const text of [end.get('code'), json.access_token, json.refresh_token, secret])
    assert.equal(log.includes(text), false);
});
