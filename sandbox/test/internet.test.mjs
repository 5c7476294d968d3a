import assert from 'node:assert/strict';
import { after, before, beforeEach, describe, it } from 'node:test';
import { startInternet } from '../internet/internet.mjs';
import { curl, removeFolder, startOrigin, temporaryFolder } from './support.mjs';

const kBody = 'the quick brown fox jumps over the lazy dog\n'.repeat(50);
const kHost = 'store.example';

let folder;
let origin;
let internet;
let state;
let proxy;
let trust;

before(async () => {
  folder = await temporaryFolder();
  origin = await startOrigin(kBody);
  const routes = [kHost, `*.${kHost}`].map((host) => ({ host, target: origin.target }));
  internet = await startInternet({ folder, routes });
  state = internet.state;
  proxy = `http://${state.proxyHost}:${state.proxyPort}`;
  trust = ['--cacert', state.caFile];
});

after(async () => {
  await internet.stop();
  origin.close();
  await removeFolder(folder);
});

beforeEach(async () => {
  for (const what of ['faults', 'log', 'routes']) await control('DELETE', what);
  origin.seen.length = 0;
});

async function control(method, what, body) {
  const response = await fetch(`${state.control}/${what}`, {
    method,
    body: body && JSON.stringify(body),
  });
  const text = await response.text();
  return { status: response.status, value: text && JSON.parse(text) };
}

async function fault(given) {
  assert.equal((await control('POST', 'faults', given)).status, 204);
}

const get = (path = '/', more = []) => curl(proxy, `https://${kHost}${path}`, [...trust, ...more]);

describe('routing', () => {
  it('serves a listed host over TLS, with Host and path as the client sent them', async () => {
    const response = await get('/a%2Fb//c?x=%20&y', ['--header', 'X-MiXed: 1']);
    assert.deepEqual([response.code, response.status, response.size], [0, 200, kBody.length]);
    assert.equal(origin.seen[0].url, '/a%2Fb//c?x=%20&y');
    const { headers } = origin.seen[0];
    assert.equal(headers[headers.indexOf('Host') + 1], kHost);
    assert.ok(headers.includes('X-MiXed'));
  });

  it('serves a plain request in absolute form', async () => {
    const response = await curl(proxy, `http://deep.sub.${kHost}/x?y=1`);
    assert.deepEqual([response.code, response.status], [0, 200]);
    assert.equal(origin.seen[0].url, '/x?y=1');
  });

  it('forwards bodies of known and of unknown length', async () => {
    await get('/known', ['--data-binary', kBody]);
    await get('/unknown', ['--data-binary', kBody, '--header', 'Transfer-Encoding: chunked']);
    assert.deepEqual(
      origin.seen.map(({ body }) => body),
      [kBody, kBody],
    );
  });

  it('refuses a host that is not listed, plain and over TLS', async () => {
    assert.equal((await curl(proxy, 'https://elsewhere.example/', trust)).connect, 502);
    assert.equal((await curl(proxy, 'http://elsewhere.example/')).status, 502);
    assert.equal((await curl(proxy, `https://not${kHost}/`, trust)).connect, 502);
    assert.equal(origin.seen.length, 0);
  });

  it('refuses an unlisted Host inside a tunnel to a listed one', async () => {
    assert.equal((await get('/', ['--header', 'Host: elsewhere.example'])).status, 502);
    assert.equal(origin.seen.length, 0);
  });

  it('responds with 502 if the local server is not running', async () => {
    const gone = await startOrigin('');
    gone.close();
    await control('POST', 'routes', { host: 'gone.example', target: gone.target });
    assert.equal((await curl(proxy, 'https://gone.example/', trust)).status, 502);
  });

  it('uses an added route until the routes are reset', async (test) => {
    const second = await startOrigin('second');
    test.after(() => second.close());
    await control('POST', 'routes', { host: kHost, target: second.target });
    assert.equal((await get()).size, 'second'.length);
    await control('DELETE', 'routes');
    assert.equal((await get()).size, kBody.length);
  });

  it('never routes off this machine', async () => {
    const response = await control('POST', 'routes', {
      host: 'x.example',
      target: 'http://192.0.2.1:80',
    });
    assert.equal(response.status, 400);
  });
});

describe('certificates', () => {
  it('are refused without the authority', async () => {
    const response = await curl(proxy, `https://${kHost}/`);
    assert.equal(response.code, 60);
    assert.equal(origin.seen.length, 0);
  });

  it('name exactly the host, however long', async () => {
    const host = `${'a'.repeat(60)}.b.${kHost}`;
    assert.equal((await curl(proxy, `https://${host}/`, trust)).status, 200);
    const other = ['--connect-to', `other.${kHost}:443:${kHost}:443`];
    assert.equal((await curl(proxy, `https://other.${kHost}/`, [...trust, ...other])).code, 60);
  });
});

describe('proxy credentials', () => {
  const port = () => `http://127.0.0.1:${state.authProxyPort}`;
  const right = () => ['--proxy-user', `${state.proxyUser}:${state.proxyPassword}`];
  const wrong = () => ['--proxy-user', `${state.proxyUser}:wrong`];

  it('are required for TLS', async () => {
    const url = `https://${kHost}/`;
    assert.equal((await curl(port(), url, trust)).connect, 407);
    assert.equal((await curl(port(), url, [...trust, ...wrong()])).connect, 407);
    assert.equal((await curl(port(), url, [...trust, ...right()])).status, 200);
    const log = (await control('GET', 'log')).value;
    assert.deepEqual(
      log.map(({ method, status, credential }) => [method, status, credential]),
      [
        ['CONNECT', 407, false],
        ['CONNECT', 407, true],
        ['CONNECT', 200, true],
        ['GET', 200, true],
      ],
    );
  });

  it('are required for plain requests, and not forwarded', async () => {
    const response = await curl(port(), `http://${kHost}/`);
    assert.equal(response.status, 407);
    assert.match(response.text, /^proxy-authenticate: basic /im);
    assert.equal((await curl(port(), `http://${kHost}/`, right())).status, 200);
    assert.ok(!origin.seen[0].headers.some((name) => /^proxy-/i.test(name)));
  });
});

describe('the log', () => {
  it('distinguishes connections and contains no secret', async () => {
    const url = `https://${kHost}/one?X-Signature=hush`;
    await curl(proxy, url, [...trust, '--header', 'Authorization: hush', url]);
    await get('/two');
    const log = (await control('GET', 'log')).value;
    const requests = log.filter(({ method }) => method === 'GET');
    assert.deepEqual(
      requests.map(({ path }) => path),
      ['/one', '/one', '/two'],
    );
    assert.deepEqual(requests[0].queryNames, ['X-Signature']);
    assert.equal(requests[0].connection, requests[1].connection);
    assert.notEqual(requests[1].connection, requests[2].connection);
    assert.ok(!JSON.stringify(log).includes('hush'));
  });
});

for (const scheme of ['http', 'https']) {
  describe(`faults over ${scheme}`, () => {
    const fetchOne = (path = '/', more = []) =>
      curl(proxy, `${scheme}://${kHost}${path}`, [...trust, ...more]);

    it('status: n times, with headers and body, then the server again', async () => {
      await fault({
        kind: 'status',
        status: 503,
        count: 2,
        headers: { 'Retry-After': '7' },
        body: 'busy',
      });
      for (let time = 0; time < 2; time += 1) {
        const response = await fetchOne();
        assert.deepEqual([response.status, response.size], [503, 4]);
        assert.match(response.text, /^retry-after: 7\r$/im);
      }
      assert.equal(origin.seen.length, 0);
      assert.equal((await fetchOne()).status, 200);
    });

    it('reset: the connection breaks before a response', async () => {
      await fault({ kind: 'reset' });
      const response = await fetchOne();
      assert.deepEqual([response.code, response.size], [56, 0]);
      assert.equal((await fetchOne()).status, 200);
    });

    it('resetBody: the connection breaks half-way', async () => {
      await fault({ kind: 'resetBody' });
      const { code, status, size } = await fetchOne();
      assert.deepEqual([code, status, size], [56, 200, kBody.length / 2]);
    });

    it('shortBody: the connection is closed half-way', async () => {
      await fault({ kind: 'shortBody' });
      const { code, status, size } = await fetchOne();
      assert.deepEqual([code, status, size], [18, 200, kBody.length / 2]);
    });

    it('resetBody and shortBody: a response without a body ends as well', async () => {
      await fault({ kind: 'resetBody' });
      await fault({ kind: 'shortBody' });
      assert.equal((await fetchOne('/', ['--head'])).status, 200);
      assert.equal((await fetchOne('/', ['--head'])).status, 200);
    });

    it('drip: all arrives, slowly', async () => {
      await fault({ kind: 'drip', bytes: 220, milliseconds: 30 });
      const response = await fetchOne();
      assert.deepEqual([response.code, response.size], [0, kBody.length]);
      // ten chunks, nine pauses between them; timers may be a millisecond early
      assert.ok(response.seconds >= 0.26, `took ${response.seconds} s`);
    });

    it('latency: the response comes late', async () => {
      await fault({ kind: 'latency', milliseconds: 300 });
      const response = await fetchOne();
      assert.equal(response.status, 200);
      assert.ok(response.seconds >= 0.29, `took ${response.seconds} s`);
    });

    it('hang: no response ever', async () => {
      await fault({ kind: 'hang' });
      const response = await fetchOne('/', ['--max-time', '0.5']);
      assert.equal(response.code, 28);
      const last = (await control('GET', 'log')).value.at(-1);
      assert.deepEqual([last.status, last.fault], [null, 'hang']);
    });
  });
}

describe('the choice of faults', () => {
  it('depends on host, method and path', async () => {
    await fault({
      kind: 'status',
      host: `*.${kHost}`,
      method: 'PUT',
      pathPrefix: '/in?a',
      status: 500,
    });
    assert.equal((await get('/in?a', ['--request', 'PUT'])).status, 200);
    const sub = (path, method) =>
      curl(proxy, `https://s.${kHost}${path}`, [...trust, '--request', method]);
    assert.equal((await sub('/in?a', 'GET')).status, 200);
    assert.equal((await sub('/out', 'PUT')).status, 200);
    assert.equal((await sub('/in?ab', 'PUT')).status, 500);
    assert.deepEqual((await control('GET', 'faults')).value, []);
  });

  it('can let some requests pass first', async () => {
    await fault({ kind: 'status', after: 1 });
    const statuses = [];
    for (let time = 0; time < 3; time += 1) statuses.push((await get()).status);
    assert.deepEqual(statuses, [200, 503, 200]);
  });

  it('rejects invalid faults', async () => {
    const wrong = [
      { kind: 'explode' },
      {},
      null,
      { kind: 'reset', status: 500 },
      { kind: 'status', count: '2' },
    ];
    for (const given of wrong) {
      const response = await fetch(`${state.control}/faults`, {
        method: 'POST',
        body: JSON.stringify(given),
      });
      assert.equal(response.status, 400, JSON.stringify(given));
    }
    assert.deepEqual((await control('GET', 'faults')).value, []);
  });
});
