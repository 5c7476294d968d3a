import assert from 'node:assert/strict';
import { readFile, writeFile } from 'node:fs/promises';
import { join } from 'node:path';
import { after, before, describe, it } from 'node:test';
import { differences } from '../player/matching.mjs';
import { describeRequest } from '../player/recording.mjs';
import { curl, removeFolder, sandbox, temporaryFolder } from './support.mjs';

const kForm = 'application/x-www-form-urlencoded';

function entry(method, url, response = {}, postData = undefined) {
  return {
    request: { method, url, headers: [], postData },
    response: { status: 200, headers: [], content: { text: '' }, ...response },
  };
}

const content = (text, encoding) => ({ content: { text, encoding } });

const kEntries = [
  entry('GET', 'https://a.test/list?b=2&a=1%2F2&sig=[redacted]', content('first')),
  entry('GET', 'https://a.test/list?b=2&a=1%2F2&sig=[redacted]', content('second')),
  entry('GET', 'https://a.test/users/%5Be-mail%5D/bytes', {
    ...content(Buffer.from([0, 255]).toString('base64'), 'base64'),
    headers: [
      { name: 'ETag', value: '"é"' },
      { name: 'content-encoding', value: 'gzip' },
      { name: 'Content-Length', value: '77' },
    ],
  }),
  entry('POST', 'https://b.test/token', { status: 400, ...content('refused') }, {
    mimeType: kForm,
    text: 'code=[redacted]&client_id=me',
  }),
  entry('POST', 'https://b.test/folder', content('made'), {
    mimeType: 'application/json',
    text: '{"name":"x","parents":["[redacted]"]}',
  }),
  entry('GET', 'https://b.test/broken', { status: 0, _error: 'TIMEOUT: too slow' }),
  entry('GET', 'http://plain.test:8080/', content('plain')),
];

describe('a recording that is played', () => {
  let folder;
  let state;
  const get = async (url, more = []) => {
    const proxy = `http://${state.internet.proxyHost}:${state.internet.proxyPort}`;
    const response = await curl(proxy, url, ['--cacert', state.internet.caFile, ...more]);
    return { ...response, body: response.text.split('\r\n\r\n').slice(1).join('\r\n\r\n') };
  };

  before(async () => {
    folder = await temporaryFolder();
    const file = join(folder, 'state.json');
    const recording = join(folder, 'a.har');
    await writeFile(recording, JSON.stringify({ log: { entries: kEntries } }));
    const { code, stdout } = await sandbox(['start', '--state', file, '--play', recording]);
    assert.equal(code, 0, stdout);
    state = JSON.parse(await readFile(file, 'utf8'));
  });

  after(async () => {
    await sandbox(['stop', '--state', join(folder, 'state.json')]);
    await removeFolder(folder);
  });

  it('has a host for each recorded one', () => {
    assert.deepEqual(state.player.hosts, ['a.test', 'b.test', 'plain.test']);
    assert.deepEqual(state.internet.hosts, state.player.hosts);
  });

  it('gives equal requests the responses in order, and repeats the last one', async () => {
    const bodies = [];
    for (const url of ['?b=2&a=1%2f2&sig=x', '?a=1/2&b=2', '?sig=y&b=2&a=1%2F2']) {
      bodies.push((await get(`https://a.test/list${url}`)).body);
    }
    assert.deepEqual(bodies, ['first', 'second', 'second']);
  });

  it('keeps bytes and headers, but not those of the connection', async () => {
    const { status, size, text } = await get('https://a.test/users/ann%40example.test/bytes');
    assert.deepEqual([status, size], [200, 2]);
    assert.match(text, /ETag: "é"/);
    assert.match(text, /Content-Length: 2\r/);
    assert.doesNotMatch(text, /gzip|77/);
  });

  it('compares forms and JSON by their content', async () => {
    const form = await get('https://b.test/token', ['--data', 'client_id=me&code=4%2F0']);
    assert.deepEqual([form.status, form.body], [400, 'refused']);
    const json = ['-H', 'Content-Type: application/json', '--data'];
    const made = await get('https://b.test/folder', [...json, '{"parents": ["p"], "name": "x"}']);
    assert.equal(made.body, 'made');
    const other = await get('https://b.test/folder', [...json, '{"parents": ["p"], "name": "y"}']);
    assert.equal(other.status, 501);
    assert.match(other.body, /entry 5: POST b\.test\/folder\nIt differs in the JSON of the body\./);
  });

  it('breaks the connection where no response was recorded', async () => {
    const { code, status } = await get('https://b.test/broken');
    assert.notEqual(code, 0);
    assert.notEqual(status, 502);
  });

  it('serves plain HTTP', async () => {
    assert.equal((await get('http://plain.test:8080/')).body, 'plain');
  });

  it('says what was not recorded, without values', async () => {
    const { status, body } = await get('https://a.test/list?a=hush&c=hush');
    assert.equal(status, 501);
    assert.equal(
      body,
      'This was not recorded: GET a.test/list with a, c\n' +
        'Nearest is entry 1: GET a.test/list with b, a, sig\n' +
        'It differs in the parameter b, the parameter a, the parameter c.\n',
    );
  });
});

describe('a file that is no recording', () => {
  it('is refused', async () => {
    const folder = await temporaryFolder();
    try {
      for (const text of ['{', '{}', '{"log":{"entries":[{}]}}']) {
        const file = join(folder, 'a.har');
        await writeFile(file, text);
        const { code, stderr } = await sandbox(['run', '--play', file, '--', 'true']);
        assert.equal(code, 1);
        assert.match(stderr, /a\.har/);
      }
      const { code } = await sandbox(['run', '--play', 'x', '--drives', '--', 'true']);
      assert.equal(code, 2);
    } finally {
      await removeFolder(folder);
    }
  });
});

describe('the comparison of requests', () => {
  const request = (target, body = '', type = '', method = 'GET') =>
    describeRequest({ method, host: 'a.test', target, body, type });
  const areEqual = (one, other) => differences(one, other).length === 0;

  it('takes what was redacted for anything, and nothing else', () => {
    assert.ok(areEqual(request('/a%5Bredacted%5Dz/b'), request('/aBCz/b')));
    assert.ok(!areEqual(request('/a%5Bredacted%5Dz/b'), request('/aBCz/c')));
    assert.ok(!areEqual(request('/a%5Bredacted%5Dz'), request('/a/z')));
    assert.ok(areEqual(request('/', 'x[redacted]y[e-mail]z'), request('/', 'x1y2z')));
    assert.ok(!areEqual(request('/', 'x[redacted]yy[redacted]y'), request('/', 'xyy')));
    assert.ok(!areEqual(request('/', 'xy[redacted]yz'), request('/', 'xyz')));
  });

  it('counts parameters of the same name', () => {
    assert.ok(areEqual(request('/?a=1&a=2'), request('/?a=2&a=1')));
    assert.ok(!areEqual(request('/?a=1&a=2'), request('/?a=1&a=1')));
    assert.ok(!areEqual(request('/?a=1'), request('/?a=1&a=1')));
  });

  it('tells methods and types of JSON apart', () => {
    assert.ok(!areEqual(request('/'), request('/', '', '', 'PUT')));
    const pairs = [
      ['{"a":1}', '{"a":"1"}'],
      ['[]', '{}'],
      ['{"a":null}', '{}'],
      ['[1,2]', '[2,1]'],
    ];
    for (const [one, other] of pairs) {
      assert.ok(!areEqual(request('/', one), request('/', other)), `${one} ${other}`);
    }
    const sorted = '{"a":{"b":[1,"x"]},"c":2}';
    assert.ok(areEqual(request('/', sorted), request('/', '{"c":2,"a":{"b":[1,"x"]}}')));
  });
});
