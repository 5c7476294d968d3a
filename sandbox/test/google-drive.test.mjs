import assert from 'node:assert/strict';
import { beforeEach, describe, it } from 'node:test';
import { fileURLToPath } from 'node:url';
import { GoogleDrive } from '../drives/google-drive.mjs';
import { Clock } from './emulator-calls.mjs';
import { sandbox } from './support.mjs';
import { typeErrors } from './vendor-types.mjs';

const kClients = fileURLToPath(new URL('google-drive-clients.mjs', import.meta.url));
const kScope = 'https://www.googleapis.com/auth/drive';
const kFolder = 'application/vnd.google-apps.folder';
const kAccount = 'ann@example.test';
const kHours = 3600 * 1000;
const kDeclarations = "import type { drive_v3 as vendor } from '@googleapis/drive';";

let drive;
let clock;

beforeEach(() => {
  clock = new Clock();
  drive = new GoogleDrive({ now: clock.now });
});

function call(method, path, { query = {}, body, headers = {}, scopes = [kScope], account } = {}) {
  const length = body === undefined ? {} : { 'content-length': `${body.length}` };
  return drive.handle({
    method,
    path: `/drive/v3/${path}`,
    query: new URLSearchParams(query),
    headers: { ...length, ...headers },
    body: Buffer.from(body ?? ''),
    account: account ?? kAccount,
    scopes,
  });
}

function list(query, more) {
  return call('GET', 'files', { query, ...more });
}

function create(given, { headers = { 'content-type': 'application/json' }, ...more } = {}) {
  const body = typeof given === 'string' || Buffer.isBuffer(given) ? given : JSON.stringify(given);
  return call('POST', 'files', { body, headers, ...more });
}

function seed(items, more = {}) {
  return drive.seed({ account: kAccount, items, ...more }).items;
}

function names(response) {
  assert.equal(response.status, 200, JSON.stringify(response.json));
  return response.json.files.map(({ name }) => name);
}

function failure({ status, json }) {
  const { message, ...rest } = json.error.errors[0];
  assert.equal(json.error.code, status);
  assert.equal(json.error.message, message);
  return [status, rest.reason, rest.location];
}

describe('the clients', () => {
  it('of the vendor and rclone list and create, and see what the other did', async () => {
    // Node reads the trusted certificates only at its start.
    const script =
      'NODE_EXTRA_CA_CERTS=$VEMLO_SANDBOX_CA_FILE HTTPS_PROXY=http://$VEMLO_SANDBOX_PROXY ' +
      'exec "$0" "$1"';
    const { code, stdout, stderr } = await sandbox([
      ...['run', '--drives', '--internet', '--'],
      ...['sh', '-c', script, process.execPath, kClients],
    ]);
    assert.equal(code, 0, stderr);
    const results = JSON.parse(stdout);
    const [root] = results['create a folder'];
    assert.match(root, /^0A.*PVA$/);
    assert.deepEqual(results, {
      about: {
        user: { displayName: 'Ann Example', emailAddress: 'ann@example.test' },
        storageQuota: { limit: '16106127360', usage: '5' },
      },
      'name of the root': { name: 'My Drive' },
      folders: ['Photos', 'Photos', "it's \\ é"],
      'folders by the alias': ['Photos', 'Photos', "it's \\ é"],
      'folders in pages': [["it's \\ é", 'Photos'], ['Photos']],
      'a name with a quotation mark': ["it's \\ é"],
      'files of a type': ['a.txt'],
      trashed: ['inside', 'old'],
      'without a mask': ['files', 'incompleteSearch', 'kind', 'nextPageToken'],
      'with a mask': ['files'],
      'create a folder': [root],
      'the same name again': 'made by the vendor',
      'rclone lists': [
        ...['Photos/', 'Photos/', 'Photos/2019/', "it's \\ é/"],
        ...['made by the vendor/', 'made by the vendor/'],
      ],
      'rclone creates': [],
      'the vendor sees it': ['made by rclone'],
      'rclone sees itself': ['inside/'],
      'rclone and space': true,
      'missing parent': [404, 'notFound'],
      'create below nothing': [404, 'notFound'],
      'missing file': [404, 'notFound'],
      'bad query': [400, 'invalid'],
      'bad order': [400, 'invalid'],
      'bad mask': [400, 'invalidParameter'],
      'bad page size': [400, 'invalidParameter'],
      'bad page token': [400, 'invalid'],
      'expired token': [401, 'authError'],
    });
  });
});

describe('responses', () => {
  it('have the shape that the vendor publishes', () => {
    seed([{ name: 'folder' }, { name: 'file', kind: 'file', size: 3 }]);
    const ofType = (type) => (json) => ({ type: `vendor.Schema$${type}`, json });
    const everything = { fields: '*' };
    const responses = [
      ...[list({ ...everything, pageSize: 1 }), list({})].map(({ json }) =>
        ofType('FileList')(json),
      ),
      ofType('File')(call('GET', 'files/root', { query: everything }).json),
      ofType('File')(create({ name: 'new', mimeType: kFolder }).json),
      ofType('About')(call('GET', 'about', { query: everything }).json),
    ];
    assert.ok(responses[0].json.nextPageToken);
    // Two wrong ones show that errors are detected.
    const wrong = [{ id: 1 }, { colour: 'red' }].map(ofType('File'));
    const errors = typeErrors(kDeclarations, [...responses, ...wrong]);
    assert.equal(errors.length, 2, errors.join('\n'));
    assert.match(errors[0], /^Type 'number' is not assignable to type 'string'/);
    assert.match(errors[1], /colour"' does not exist in type/);
  });
});

describe('files.list', () => {
  it('gives folders first, each group by name', () => {
    seed([{ name: 'b', kind: 'file' }, { name: 'd' }, { name: 'a', kind: 'file' }, { name: 'c' }]);
    assert.deepEqual(names(list({ orderBy: 'folder,name' })), ['c', 'd', 'a', 'b']);
    assert.deepEqual(names(list({ orderBy: 'folder desc,name desc' })), ['b', 'a', 'd', 'c']);
    assert.deepEqual(names(list({})), ['c', 'a', 'd', 'b']);
  });

  it('orders names by code points, or numbers by their value', () => {
    seed([{ name: '\u{1f600}' }, { name: '\uffee' }, { name: 'f10' }, { name: 'f9' }]);
    assert.deepEqual(names(list({ orderBy: 'name' })), ['f10', 'f9', '\uffee', '\u{1f600}']);
    assert.deepEqual(names(list({ orderBy: 'name_natural' })).slice(0, 2), ['f9', 'f10']);
  });

  for (const [q, expected] of [
    ["'root' in parents", ['Alpha Beta', 'file.txt']],
    ["name = 'inner'", ['inner']],
    ["name != 'inner' and trashed = false", ['Alpha Beta', 'file.txt']],
    ["name contains 'bet'", ['Alpha Beta']],
    ["name contains 'eta'", []],
    ["mimeType contains 'text/'", ['file.txt']],
    [`mimeType != '${kFolder}'`, ['file.txt']],
    ["not name = 'inner'", ['Alpha Beta', 'file.txt']],
    ["not (name = 'inner' or name = 'file.txt')", ['Alpha Beta']],
    ["name = 'inner' or name = 'file.txt' and trashed = true", []],
    ["name = 'inner' or (name = 'file.txt' and trashed = true)", ['inner']],
    ["modifiedTime >= '2024-02-29T08:30:15'", ['Alpha Beta', 'file.txt', 'inner']],
    ["createdTime<'2024-02-29T10:30:15+02:00'", []],
    ['', ['Alpha Beta', 'file.txt', 'inner']],
  ]) {
    it(`understands "${q}"`, () => {
      seed([
        { name: 'Alpha Beta', items: [{ name: 'inner' }] },
        { name: 'file.txt', kind: 'file', mimeType: 'text/plain' },
      ]);
      assert.deepEqual(names(list({ q, orderBy: 'name' })), expected);
    });
  }

  for (const q of [
    "'root' in parents and",
    "'root'in",
    "'it's' in parents",
    'name',
    "name like 'x'",
    'name = x',
    "name = 'x",
    "(name = 'x'",
    "name = 'x')",
    "name = 'x' name = 'y'",
    "trashed = 'false'",
    'trashed = maybe',
    "createdTime > 'yesterday'",
    "fullText contains 'x'",
    "constructor = 'x'",
    'and',
  ]) {
    it(`refuses "${q}"`, () => {
      assert.deepEqual(failure(list({ q })), [400, 'invalid', 'q']);
    });
  }

  it('finds nothing in a folder of another account', () => {
    const [{ id }] = seed([{ name: 'folder' }]);
    const response = list({ q: `'${id}' in parents` }, { account: 'ben@example.test' });
    assert.deepEqual(failure(response), [404, 'notFound', 'fileId']);
  });

  it('continues after a page with its token, which can be used again', () => {
    seed([], { folders: 5 });
    const query = { q: "'root' in parents", orderBy: 'name', pageSize: 2 };
    const found = [];
    let pageToken;
    do {
      const page = { ...query, ...(pageToken && { pageToken }) };
      assert.deepEqual(names(list(page)), names(list(page)));
      const { json } = list(page);
      found.push(json.files.length);
      pageToken = json.nextPageToken;
    } while (pageToken);
    assert.deepEqual(found, [2, 2, 1]);
  });

  it('returns short and empty pages if so configured', () => {
    seed([], { folders: 3 });
    drive.configure({ account: kAccount, pageSizes: [0, 1, 2] });
    const found = [];
    let pageToken;
    do {
      const { json } = list(pageToken ? { pageToken } : {});
      found.push(json.files.length);
      pageToken = json.nextPageToken;
    } while (pageToken);
    assert.deepEqual(found, [0, 1, 2, 0]);
  });

  it('accepts a page token only for its query and account, and for a limited time', () => {
    seed([], { folders: 3 });
    const query = { q: 'trashed = false', pageSize: 1 };
    const pageToken = list(query).json.nextPageToken;
    const isRefused = (response) =>
      assert.deepEqual(failure(response), [400, 'invalid', 'pageToken']);
    isRefused(list({ ...query, q: 'trashed=false', pageToken }));
    isRefused(list({ ...query, pageToken }, { account: 'ben@example.test' }));
    isRefused(list({ ...query, pageToken: 'junk' }));
    assert.equal(list({ ...query, pageToken }).status, 200);
    clock.time += 4 * kHours;
    isRefused(list({ ...query, pageToken }));
  });

  it('returns the token only if the mask has it', () => {
    seed([], { folders: 2 });
    const members = (fields) => Object.keys(list({ pageSize: 1, fields }).json);
    assert.deepEqual(members('files(id)'), ['files']);
    assert.deepEqual(members('nextPageToken,files(id,name)'), ['nextPageToken', 'files']);
    assert.deepEqual(members('*'), ['kind', 'nextPageToken', 'incompleteSearch', 'files']);
  });

  for (const [fields, expected] of [
    ['files(id,name)', ['id', 'name']],
    ['files/name', ['name']],
    ['files/name,files/id', ['id', 'name']],
    ['files(name),files(id)', ['id', 'name']],
    ['files(owners(emailAddress),name)', ['name']],
    ['files(name,parents)', ['name', 'parents']],
  ]) {
    it(`cuts files down to ${fields}`, () => {
      seed([{ name: 'folder' }]);
      assert.deepEqual(Object.keys(list({ fields }).json.files[0]), expected);
    });
  }

  for (const fields of [
    '',
    'colour',
    'files(',
    'files(id',
    'files(id))',
    'files/id/x',
    'a b',
    ',',
  ]) {
    it(`refuses the mask "${fields}"`, () => {
      assert.deepEqual(failure(list({ fields })), [400, 'invalidParameter', 'fields']);
    });
  }

  for (const [name, value] of [
    ['pageSize', '0'],
    ['pageSize', '1001'],
    ['pageSize', 'ten'],
    ['corpora', 'everything'],
    ['supportsAllDrives', 'yes'],
    ['colour', 'red'],
  ]) {
    it(`refuses ${name}=${value}`, () => {
      assert.deepEqual(failure(list({ [name]: value })), [400, 'invalidParameter', name]);
    });
  }

  it('refuses unknown orders', () => {
    for (const orderBy of ['colour', 'name down', 'name,', 'name desc desc'])
      assert.deepEqual(failure(list({ orderBy })), [400, 'invalid', 'orderBy']);
  });

  it('lists 50,000 folders quickly', () => {
    seed([], { folders: 50000 });
    const q = `'root' in parents and trashed = false and mimeType = '${kFolder}'`;
    const query = { q, orderBy: 'folder,name', pageSize: 500 };
    const from = process.hrtime.bigint();
    let count = 0;
    let pageToken;
    do {
      const { json } = list({ ...query, ...(pageToken && { pageToken }) });
      count += json.files.length;
      pageToken = json.nextPageToken;
    } while (pageToken);
    assert.equal(count, 50000);
    assert.ok(Number(process.hrtime.bigint() - from) < 10e9);
  });
});

describe('files.get', () => {
  it('returns the root by its alias and by its id', () => {
    const { json } = call('GET', 'files/root');
    assert.deepEqual(Object.keys(json), ['kind', 'id', 'name', 'mimeType']);
    assert.deepEqual(call('GET', `files/${json.id}`).json, json);
    const all = call('GET', 'files/root', { query: { fields: '*' } }).json;
    assert.equal(all.parents, undefined);
    assert.equal(all.createdTime, '2024-02-29T08:30:15.000Z');
  });

  it('gives the root the configured name', () => {
    drive.configure({ account: kAccount, rootName: 'Meine Ablage' });
    assert.equal(call('GET', 'files/root').json.name, 'Meine Ablage');
  });

  it('treats what is in a trashed folder as trashed', () => {
    const [{ items }] = seed([{ name: 'old', trashed: true, items: [{ name: 'inner' }] }]);
    const query = { fields: 'trashed,explicitlyTrashed' };
    const { json } = call('GET', `files/${items[0].id}`, { query });
    assert.deepEqual(json, { trashed: true, explicitlyTrashed: false });
  });

  it('refuses an unknown or malformed id, and an unknown resource', () => {
    const response = call('GET', 'files/no%20where');
    assert.deepEqual(failure(response), [404, 'notFound', 'fileId']);
    assert.equal(response.json.error.message, 'File not found: no where.');
    assert.equal(call('GET', 'files/%zz').status, 400);
    assert.equal(call('GET', 'changes').status, 404);
  });
});

describe('files.create', () => {
  it('makes a folder with a new id each time, in the root or in the given parent', () => {
    const first = create({ name: 'x', mimeType: kFolder }).json;
    const second = create({ name: 'x', mimeType: kFolder, parents: ['root'] }).json;
    assert.notEqual(first.id, second.id);
    create({ name: 'inside', mimeType: kFolder, parents: [first.id] });
    assert.deepEqual(names(list({ q: `'${first.id}' in parents` })), ['inside']);
    assert.deepEqual(names(list({ q: "'root' in parents" })), ['x', 'x']);
  });

  it('makes an untitled file of a general type by default', () => {
    const { name, mimeType } = create({}).json;
    assert.deepEqual([name, mimeType], ['Untitled', 'application/octet-stream']);
  });

  const typed = (type) => ({ headers: { 'content-type': type } });
  for (const [what, given, more, expected] of [
    ['bad JSON', '{"name":', {}, [400, 'parseError']],
    ['JSON that is not an object', '["x"]', {}, [400, 'parseError']],
    ['bytes that are not UTF-8', Buffer.from('{"name":"\xff"}', 'latin1'), {}, [400, 'parseError']],
    ['a form', {}, typed('application/x-www-form-urlencoded'), [400, 'badContent']],
    ['no content type', {}, { headers: {} }, [400, 'badContent']],
    ['a name that is not a string', { name: 1 }, {}, [400, 'invalid']],
    ['parents that are not a list', { parents: 'root' }, {}, [400, 'invalid']],
    ['an unknown member', { colour: 'red' }, {}, [400, 'invalid']],
    ['a malformed time', { createdTime: 'now' }, {}, [400, 'invalid']],
    ['two parents', { parents: ['root', 'root'] }, {}, [403, 'cannotAddParent']],
    ['an unknown parent', { parents: ['nowhere'] }, {}, [404, 'notFound']],
  ]) {
    it(`refuses ${what}`, () => {
      assert.deepEqual(failure(create(given, more)).slice(0, 2), expected);
      assert.deepEqual(names(list({})), []);
    });
  }

  it('accepts a charset in the content type', () => {
    assert.equal(create({ name: 'é' }, typed('application/json; charset=UTF-8')).json.name, 'é');
  });

  it('refuses a file as a parent', () => {
    const [{ id }] = seed([{ name: 'file', kind: 'file' }]);
    assert.deepEqual(failure(create({ parents: [id] })).slice(0, 2), [403, 'parentNotAFolder']);
  });

  it('requires the length of the body', () => {
    const headers = { 'content-type': 'application/json' };
    assert.equal(call('POST', 'files', { headers }).status, 411);
  });
});

describe('a token', () => {
  it('has to cover the drive', () => {
    const response = list({}, { scopes: ['email', 'profile'] });
    assert.deepEqual(failure(response).slice(0, 2), [403, 'insufficientPermissions']);
  });

  it('that is missing, expired or invalid gets the reason for it', () => {
    const reasonFor = (reason) => failure(drive.unauthorized({ reason }));
    assert.deepEqual(reasonFor('missing'), [401, 'required', 'Authorization']);
    assert.deepEqual(reasonFor('expired'), [401, 'authError', 'Authorization']);
    assert.deepEqual(reasonFor('invalid'), [401, 'authError', 'Authorization']);
  });
});
