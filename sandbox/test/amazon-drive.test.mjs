import assert from 'node:assert/strict';
import { beforeEach, describe, it } from 'node:test';
import { fileURLToPath } from 'node:url';
import { AmazonDrive } from '../drives/amazon-drive.mjs';
import { caller, Clock } from './emulator-calls.mjs';
import { sandbox } from './support.mjs';

const kClients = fileURLToPath(new URL('amazon-drive-clients.mjs', import.meta.url));
const kAnn = 'ann@example.test';
const kEndpoint = 'https://drive.amazonaws.com/drive/v1/account/endpoint';
const kProfile = 'https://api.amazon.com/user/profile';
const kBase = 'https://cdws.us-east-1.amazonaws.com/drive/v1/';
const kMinutes = 60 * 1000;

let clock;
let drive;
let call;
let root;
let ids;

beforeEach(() => {
  clock = new Clock();
  drive = new AmazonDrive(clock);
  call = caller(drive, kAnn, ['profile']);
  const { items } = drive.seed({
    account: kAnn,
    items: [
      { name: 'Photos', items: [{ name: '2019 (a+b)' }, { name: 'with "quotes" \\ and: *' }] },
      { name: 'a.txt', kind: 'file', size: 4 },
      { name: 'Gone', status: 'TRASH' },
      { name: 'music' },
    ],
  });
  ids = Object.fromEntries(items.map(({ name, id }) => [name, id]));
  root = query({ filters: 'kind:FOLDER AND isRoot:true' }).json.data[0].id;
});

function query(parameters, path = 'nodes') {
  const pairs = Object.entries(parameters).map(
    ([name, value]) => `${name}=${encodeURIComponent(value)}`,
  );
  return call('GET', `${kBase}${path}?${pairs.join('&')}`);
}

function names({ status, json }) {
  assert.equal(status, 200, JSON.stringify(json));
  return json.data.map(({ name }) => name);
}

function failure({ status, json }) {
  assert.ok(json.logref && json.message);
  return [status, json.code];
}

function foldersIn(parent, more = {}) {
  const filters = `kind:FOLDER AND status:AVAILABLE AND parents:"${parent}"`;
  return { filters, sort: '[kind,name]', limit: 100, ...more };
}

/** The responses to a query, page by page. */
function pages(parameters) {
  const responses = [query(parameters)];
  while (responses.at(-1).json.nextToken) {
    responses.push(query({ ...parameters, startToken: responses.at(-1).json.nextToken }));
  }
  return responses;
}

function create(json, headers) {
  return call('POST', `${kBase}nodes`, json, headers);
}

describe('an account of Amazon Drive', () => {
  it('has an endpoint for metadata and one for content', () => {
    const { status, json } = call('GET', kEndpoint);
    assert.equal(status, 200);
    assert.equal(json.metadataUrl, kBase);
    assert.equal(json.contentUrl, 'https://content-na.drive.amazonaws.com/cdproxy/');
    assert.equal(json.customerExists, true);
  });

  it('may have other endpoints or none', () => {
    const metadataUrl = 'http://cdws.us-east-1.amazonaws.com/drive/v1';
    drive.configure({ account: kAnn, endpoint: { metadataUrl, contentUrl: null } });
    const { json } = call('GET', kEndpoint);
    assert.equal(json.metadataUrl, metadataUrl);
    assert.ok(!('contentUrl' in json));
  });

  it('has a profile, which may lack members', () => {
    const { json } = call('GET', kProfile);
    assert.match(json.user_id, /^amzn1\.account\./);
    assert.deepEqual([json.name, json.email], ['Ann Example', kAnn]);
    drive.configure({ account: kAnn, profile: { email: null, name: 'Ann' } });
    assert.deepEqual(Object.keys(call('GET', kProfile).json), ['user_id', 'name']);
  });

  it('has a profile that only its scope shows', () => {
    const { status, json } = caller(drive, kAnn)('GET', kProfile);
    assert.deepEqual([status, json.error], [403, 'insufficient_scope']);
  });

  it('has a quota', () => {
    for (const base of [kBase, kEndpoint.replace('account/endpoint', '')]) {
      const { quota, available } = call('GET', `${base}account/quota`).json;
      assert.deepEqual([quota, available], [5368709120, 5368709116]);
    }
  });

  it('has a status, and no other resources', () => {
    assert.equal(call('GET', `${kBase}account/info`).json.status, 'ACTIVE');
    const wrong = [
      ['GET', 'https://drive.amazonaws.com/drive/v1/nodes'],
      ['GET', 'https://content-na.drive.amazonaws.com/cdproxy/nodes'],
      ['GET', `${kBase}account/nope`],
      ['DELETE', `${kBase}nodes`],
      ['POST', kEndpoint],
    ];
    for (const [method, url] of wrong) {
      assert.deepEqual(failure(call(method, url)), [404, ''], `${method} ${url}`);
    }
  });

  it('requires a valid token', () => {
    for (const reason of ['missing', 'expired', 'invalid']) {
      const host = 'cdws.us-east-1.amazonaws.com';
      assert.deepEqual(failure(drive.unauthorized({ reason, host })), [401, '']);
    }
    const atProfile = (reason) => drive.unauthorized({ reason, host: 'api.amazon.com' });
    assert.equal(atProfile('expired').status, 401);
    assert.equal(atProfile('invalid').status, 400);
    assert.equal(atProfile('invalid').json.error, 'invalid_token');
  });
});

describe('the nodes of Amazon Drive', () => {
  it('start with a root that has no name', () => {
    const { json } = query({ filters: 'kind:FOLDER AND isRoot:true' });
    assert.equal(json.count, 1);
    const [node] = json.data;
    assert.deepEqual([node.isRoot, node.kind, node.parents], [true, 'FOLDER', []]);
    assert.ok(!('name' in node) && !('nextToken' in json));
  });

  it('are found by filters', () => {
    const found = (filters) => names(query({ filters, sort: '[name]' }));
    assert.deepEqual(found(foldersIn(root).filters), ['music', 'Photos']);
    assert.deepEqual(found(`parents:${root} AND status:TRASH`), ['Gone']);
    assert.deepEqual(found(`parents:${root} AND kind:FILE`), ['a.txt']);
    assert.deepEqual(found('name:MUSIC'), ['music']);
    assert.deepEqual(found('name:music OR kind:FILE AND name:"a.txt"'), ['a.txt', 'music']);
    assert.deepEqual(found('parents:"none"'), []);
  });

  it('are found by names with escaped characters', () => {
    const found = (filters) => names(query({ filters }));
    const place = `parents:"${ids.Photos}" AND `;
    assert.deepEqual(found(`${place}name:"2019\\ \\(a\\+b\\)"`), ['2019 (a+b)']);
    assert.deepEqual(found(`${place}name:2019\\ \\(a\\+b\\)`), ['2019 (a+b)']);
    const quoted = 'name:"with \\"quotes\\" \\\\ and: *"';
    assert.deepEqual(found(place + quoted), ['with "quotes" \\ and: *']);
  });

  const kMalformedFilters = [
    ...['kind', 'kind:', ':FOLDER', 'nope:1', 'toString:1', 'kind:FOLDER AND', 'AND kind:FOLDER'],
    ...['kind:FOLDER name:x', 'kind:FOLDER and name:x', '(kind:FOLDER)', 'name:x*', 'name:"x'],
    ...['parents:"a"b"', 'kind:FOLDER OR OR name:x', 'name:"x"y'],
  ];
  for (const filters of kMalformedFilters) {
    it(`are not found by the malformed filter ${filters}`, () => {
      assert.deepEqual(failure(query({ filters })), [400, '']);
    });
  }

  it('are returned in the requested order', () => {
    const sorted = (sort) => names(query({ filters: `parents:${root}`, sort }));
    assert.deepEqual(sorted('[kind,name]'), ['a.txt', 'Gone', 'music', 'Photos']);
    assert.deepEqual(sorted('["kind DESC","name ASC"]'), ['Gone', 'music', 'Photos', 'a.txt']);
    assert.deepEqual(sorted('["name DESC"]'), ['Photos', 'music', 'Gone', 'a.txt']);
    for (const sort of ['name', '[]', '[nope]', '[name UP]', '["name]', '[name,]']) {
      assert.deepEqual(failure(query({ sort })), [400, ''], sort);
    }
  });

  it('are found by id and below one', () => {
    const node = call('GET', `${kBase}nodes/${ids.Photos}`).json;
    assert.deepEqual([node.name, node.kind, node.parents], ['Photos', 'FOLDER', [root]]);
    const below = query({ filters: 'kind:FOLDER' }, `nodes/${ids.Photos}/children`);
    assert.equal(names(below).length, 2);
    assert.deepEqual(failure(call('GET', `${kBase}nodes/none`)), [404, '']);
    assert.equal(failure(call('GET', `${kBase}nodes/%zz`))[0], 400);
  });

  it('of files have a size and a type', () => {
    const { contentProperties } = call('GET', `${kBase}nodes/${ids['a.txt']}`).json;
    assert.deepEqual(contentProperties, { contentType: 'application/octet-stream', size: 4 });
  });
});

describe('the pages of an Amazon Drive query', () => {
  it('are three for 250 folders at 100 a page, and count all folders', () => {
    drive.seed({ account: kAnn, parent: ids.music, folders: 250 });
    const responses = pages(foldersIn(ids.music));
    assert.deepEqual(
      responses.map(({ json }) => json.data.length),
      [100, 100, 50],
    );
    assert.ok(responses.every(({ json }) => json.count === 250));
    const all = responses.flatMap(names);
    assert.deepEqual([...new Set(all)].sort(), all);
  });

  it('hold 200 nodes at most', () => {
    drive.seed({ account: kAnn, parent: ids.music, folders: 201 });
    const { filters } = foldersIn(ids.music);
    assert.equal(names(query({ filters })).length, 200);
    for (const limit of ['201', '0', '-1', 'x', '']) {
      assert.deepEqual(failure(query({ filters, limit })), [400, ''], limit);
    }
  });

  it('may be short or empty', () => {
    drive.configure({ account: kAnn, pageSizes: [1, 0] });
    assert.deepEqual(pages(foldersIn(root)).map(names), [['music'], [], ['Photos'], []]);
  });

  it('start at the first one with an empty token', () => {
    assert.equal(names(query(foldersIn(root, { startToken: '' }))).length, 2);
  });

  it('continue only with the token of the same query, and for ten minutes', () => {
    const first = foldersIn(root, { limit: 1 });
    const startToken = query(first).json.nextToken;
    const others = [{ sort: '[name]' }, { filters: 'kind:FOLDER' }, { startToken: 'junk' }];
    for (const other of others) {
      assert.deepEqual(failure(query({ ...first, startToken, ...other })), [400, '']);
    }
    clock.time += 10 * kMinutes;
    assert.deepEqual(names(query({ ...first, startToken })), ['Photos']);
    clock.time += 1;
    assert.deepEqual(failure(query({ ...first, startToken })), [400, '']);
  });

  it('serve 50,000 folders quickly', () => {
    drive.seed({ account: kAnn, parent: ids.music, folders: 50000 });
    const from = Date.now();
    assert.equal(pages(foldersIn(ids.music)).flatMap(names).length, 50000);
    assert.ok(Date.now() - from < 10000);
  });
});

describe('a new folder on Amazon Drive', () => {
  it('is made once and then refused, whatever the case', () => {
    const made = create({ name: 'New', kind: 'FOLDER', parents: [ids.Photos] });
    assert.equal(made.status, 201);
    assert.deepEqual([made.json.name, made.json.parents], ['New', [ids.Photos]]);
    const again = create({ name: 'nEW', kind: 'FOLDER', parents: [ids.Photos] });
    assert.deepEqual(failure(again), [409, 'NAME_ALREADY_EXISTS']);
    assert.deepEqual(again.json.info, { nodeId: made.json.id });
    assert.ok(names(query(foldersIn(ids.Photos))).includes('New'));
  });

  it('is made below the root unless a parent is given', () => {
    assert.deepEqual(create({ name: 'New', kind: 'FOLDER' }).json.parents, [root]);
  });

  it('is refused for a body of another type, but not for one without a type', () => {
    const body = { name: 'New', kind: 'FOLDER' };
    const form = { 'content-type': 'application/x-www-form-urlencoded' };
    assert.equal(failure(create(body, form))[0], 415);
    assert.equal(create(body, {}).status, 201);
  });

  it('is refused for an invalid body', () => {
    const good = { name: 'New', kind: 'FOLDER' };
    const wrong = [
      [400, { ...good, name: undefined }],
      [400, { ...good, name: '' }],
      [400, { ...good, name: 'x'.repeat(257) }],
      [400, { ...good, kind: 'folder' }],
      [400, { ...good, kind: 'FILE' }],
      [400, { ...good, parents: root }],
      [400, { ...good, parents: [root, ids.Photos] }],
      [400, { ...good, parents: [ids['a.txt']] }],
      [400, { ...good, nope: 1 }],
      [400, '{"name"'],
      [404, { ...good, parents: ['none'] }],
    ];
    for (const [status, body] of wrong) {
      assert.equal(failure(create(body))[0], status, JSON.stringify(body));
    }
  });
});

describe('Amazon Drive', () => {
  it('works with rclone', async () => {
    const program = ['--', process.execPath, kClients];
    const { code, stdout, stderr } = await sandbox(['run', '--drives', '--internet', ...program]);
    assert.equal(code, 0, stderr);
    assert.deepEqual(JSON.parse(stdout), {
      creates: 'ok',
      'creates what is there': 'ok',
      lists: ['Photos/', 'a.txt'],
      'lists what it made': ['Ünï "q" \\ (1)/', 'made elsewhere/'],
      'what it made': ['made elsewhere', 'Ünï "q" \\ (1)'],
      'lists nothing': 'directory not found',
    });
  });
});
