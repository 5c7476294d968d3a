import assert from 'node:assert/strict';
import { beforeEach, describe, it } from 'node:test';
import { fileURLToPath } from 'node:url';
import { Dropbox } from '../drives/dropbox.mjs';
import { caller } from './emulator-calls.mjs';
import { sandbox } from './support.mjs';
import { typeErrors } from './vendor-types.mjs';

const kClients = fileURLToPath(new URL('dropbox-clients.mjs', import.meta.url));
const kAnn = 'ann@example.test';
const kBase = 'https://api.dropboxapi.com/2/';

let dropbox;
let call;

beforeEach(() => {
  dropbox = new Dropbox();
  call = callerWith(['account_info.read']);
  dropbox.seed({
    account: kAnn,
    items: [
      { name: 'Photos', items: [{ name: '2019' }] },
      { name: 'a.txt', kind: 'file', size: 4 },
    ],
  });
});

function callerWith(scopes) {
  const send = caller(dropbox, kAnn, scopes);
  return (name, json, headers) => send('POST', `${kBase}${name}`, json, headers);
}

function list(path, more = {}) {
  return call('files/list_folder', { path, ...more });
}

function continueWith(cursor) {
  return call('files/list_folder/continue', { cursor });
}

function create(path, more = {}) {
  return call('files/create_folder_v2', { path, ...more });
}

function names({ status, json }) {
  assert.equal(status, 200, JSON.stringify(json));
  return json.entries.map(({ name }) => name);
}

/** The tags of an error, which its summary repeats. */
function tags({ status, json }) {
  assert.equal(status, 409);
  const found = [];
  for (let at = json.error; at; at = at[at['.tag']]) found.push(at['.tag']);
  assert.match(json.error_summary, new RegExp(`^${found.join('/')}/\\.{0,3}$`));
  return found.join('/');
}

function sentence({ status, json, text }) {
  assert.equal(status, 400);
  assert.equal(json, undefined);
  return text;
}

/** The names on every page of a listing. */
function pages(path, more) {
  const found = [];
  let response = list(path, more);
  for (;;) {
    found.push(names(response));
    if (!response.json.has_more) return found;
    response = continueWith(response.json.cursor);
  }
}

describe('a folder on Dropbox', () => {
  it('lists folders and files with their paths', () => {
    const { entries, has_more: hasMore } = list('').json;
    assert.equal(hasMore, false);
    const found = entries.map((entry) => [entry['.tag'], entry.path_display, entry.path_lower]);
    assert.deepEqual(found, [
      ['file', '/a.txt', '/a.txt'],
      ['folder', '/Photos', '/photos'],
    ]);
    assert.equal(entries[0].size, 4);
  });

  it('is found whatever the case, and by its id', () => {
    assert.deepEqual(names(list('/PHOTOS')), ['2019']);
    const { id } = list('').json.entries[1];
    assert.deepEqual(names(list(id)), ['2019']);
    assert.equal(list(`${id}/2019`).status, 200);
    assert.equal(call('files/get_metadata', { path: '/photos/2019' }).json['.tag'], 'folder');
  });

  it('has the shape that the vendor declares', () => {
    const responses = [
      { type: 'files.ListFolderResult', json: list('').json },
      { type: 'files.CreateFolderResult', json: create('/New').json },
      { type: 'files.FolderMetadataReference', json: metadata('/Photos') },
      { type: 'files.FileMetadataReference', json: metadata('/a.txt') },
      { type: 'users.FullAccount', json: call('users/get_current_account', 'null').json },
      { type: 'users.SpaceUsage', json: call('users/get_space_usage', 'null').json },
      { type: 'files.CreateFolderResult', json: { metadata: metadata('/Photos') } },
    ];
    const errors = typeErrors("import type { files, users } from 'dropbox';", responses);
    assert.equal(errors.length, 1, errors.join('\n'));
    assert.match(errors[0], /".tag"' does not exist/); // the last one, which is wrong on purpose
  });

  it('takes space, which may be that of a team', () => {
    const usage = () => call('users/get_space_usage', 'null').json;
    const individual = { '.tag': 'individual', allocated: 2147483648 };
    assert.deepEqual(usage(), { used: 4, allocation: individual });
    const allocation = { '.tag': 'team', used: 9, allocated: 100 };
    dropbox.configure({ account: kAnn, allocation });
    assert.deepEqual(usage(), { used: 4, allocation });
  });

  it('has an owner, whom only its scope shows', () => {
    const withoutScope = callerWith(['files.metadata.read']);
    for (const name of ['users/get_current_account', 'users/get_space_usage']) {
      const { status, json } = withoutScope(name, 'null');
      const error = { '.tag': 'missing_scope', required_scope: 'account_info.read' };
      assert.deepEqual([status, json.error], [401, error]);
    }
    assert.equal(withoutScope('files/list_folder', { path: '' }).status, 200);
  });

  it('is refused if it does not exist', () => {
    assert.equal(tags(list('/none')), 'path/not_found');
    assert.equal(tags(list('id:none')), 'path/not_found');
    assert.equal(tags(list('/a.txt')), 'path/not_folder');
  });

  for (const path of ['/Photos/', '//Photos', '/Photos//2019', '/Photos ', '/a\\b', '/..']) {
    it(`is refused at the malformed path "${path}"`, () => {
      assert.equal(tags(list(path)), 'path/malformed_path');
    });
  }

  it('is refused with a text for what is not a path', () => {
    assert.match(sentence(list('/')), /Specify the root folder as an empty string/);
    assert.match(sentence(list('Photos')), /request body: path: expected string matching/);
    assert.match(sentence(list(7)), /request body: path/);
  });

  it('lists everything below it on request', () => {
    assert.deepEqual(names(list('', { recursive: true })), ['a.txt', 'Photos', '2019']);
    assert.deepEqual(names(list('/photos', { recursive: true })), ['Photos', '2019']);
  });
});

function metadata(path) {
  return call('files/get_metadata', { path }).json;
}

describe('the pages of a Dropbox folder', () => {
  it('hold 2000 entries, or as many as requested', () => {
    dropbox.seed({ account: kAnn, parent: '/Photos', folders: 2004 });
    const sizes = (more) => pages('/Photos', more).map(({ length }) => length);
    assert.deepEqual(sizes(), [2000, 5]);
    assert.deepEqual(sizes({ limit: 1000 }), [1000, 1000, 5]);
    assert.match(sentence(list('', { limit: 2001 })), /limit/);
  });

  it('may be short or empty', () => {
    dropbox.configure({ account: kAnn, pageSizes: [1, 0] });
    assert.deepEqual(pages(''), [['a.txt'], [], ['Photos'], []]);
  });

  it('are followed by any number of empty ones, each with another cursor', () => {
    const cursors = new Set([list('').json.cursor]);
    for (const cursor of cursors) {
      const { status, json } = continueWith(cursor);
      assert.deepEqual([status, json.entries, json.has_more], [200, [], false]);
      cursors.add(json.cursor);
      if (cursors.size > 20) break;
    }
    assert.equal(cursors.size, 21);
  });

  it('are followed by what is new', () => {
    const { cursor } = list('').json;
    create('/New');
    const response = continueWith(cursor);
    assert.deepEqual(names(response), ['New']);
    assert.deepEqual(names(continueWith(response.json.cursor)), []);
  });

  it('end with a reset if so configured', () => {
    dropbox.configure({ account: kAnn, pageSizes: [1], resetOnContinuation: 2 });
    dropbox.seed({ account: kAnn, folders: 2 });
    const second = continueWith(list('').json.cursor);
    assert.deepEqual(names(second), ['folder-00000']);
    assert.equal(tags(continueWith(second.json.cursor)), 'reset');
    assert.equal(pages('').flat().length, 4);
  });

  it('continue only with a cursor of this account', () => {
    const { cursor } = list('').json;
    const ben = caller(dropbox, 'ben@example.test');
    assert.equal(tags(ben('POST', `${kBase}files/list_folder/continue`, { cursor })), 'reset');
    assert.equal(tags(continueWith(`${cursor}x`)), 'reset');
    assert.match(sentence(continueWith('junk!')), /cursor/);
    const both = call('files/list_folder/continue', { cursor, path: '' });
    assert.match(sentence(both), /unknown field 'path'/);
  });

  it('serve 50,000 folders quickly', () => {
    dropbox.seed({ account: kAnn, parent: '/Photos/2019', folders: 50000 });
    const from = Date.now();
    assert.equal(pages('/Photos/2019', { limit: 500 }).flat().length, 50000);
    assert.ok(Date.now() - from < 10000);
  });
});

describe('a new folder on Dropbox', () => {
  it('is returned without a tag', () => {
    const { status, json } = create('/Photos/New');
    assert.equal(status, 200);
    const { id, ...rest } = json.metadata;
    assert.match(id, /^id:[\w-]{22}$/);
    assert.deepEqual(rest, {
      name: 'New',
      path_lower: '/photos/new',
      path_display: '/Photos/New',
    });
    assert.deepEqual(names(list('/Photos')), ['2019', 'New']);
  });

  it('is made together with its parents', () => {
    assert.equal(create('/One/two/three').json.metadata.path_display, '/One/two/three');
    assert.deepEqual(names(list('/one/Two')), ['three']);
  });

  it('is refused if the name exists, unless it may be renamed', () => {
    assert.equal(tags(create('/PHOTOS')), 'path/conflict/folder');
    assert.equal(tags(create('/a.txt')), 'path/conflict/file');
    assert.equal(tags(create('/a.txt/b')), 'path/conflict/file_ancestor');
    assert.equal(create('/Photos', { autorename: true }).json.metadata.name, 'Photos (1)');
  });

  for (const path of ['/', '//A', '/A/', '/A ', `/${'x'.repeat(256)}`]) {
    it(`is refused at the malformed path "${path.slice(0, 10)}"`, () => {
      assert.equal(tags(create(path)), 'path/malformed_path');
      assert.deepEqual(names(list('')), ['a.txt', 'Photos']);
    });
  }

  it('is refused with a text for what is not a path', () => {
    assert.match(sentence(create('')), /path/);
    assert.match(sentence(create('A')), /path/);
  });
});

describe('a call of Dropbox', () => {
  it('must have the content type of JSON', () => {
    const attempt = (type) => call('files/list_folder', { path: '' }, { 'content-type': type });
    for (const type of ['application/json', 'application/json; charset=utf-8']) {
      assert.equal(attempt(type).status, 200, type);
    }
    for (const type of [undefined, '', 'application/x-www-form-urlencoded', 'text/plain']) {
      assert.match(sentence(attempt(type)), /Bad HTTP "Content-Type" header/);
    }
  });

  it('must have the right members', () => {
    assert.match(sentence(list('', { nope: 1 })), /unknown field 'nope'/);
    assert.match(sentence(list('', { recursive: 'no' })), /recursive: expected boolean/);
    assert.match(sentence(call('files/list_folder', {})), /missing required field 'path'/);
    assert.match(sentence(call('files/list_folder', '{"path":')), /expected a JSON object/);
    assert.match(sentence(call('files/list_folder', '[]')), /expected a JSON object/);
  });

  it('must be a POST of a function that exists', () => {
    const get = caller(dropbox, kAnn)('GET', `${kBase}files/list_folder`);
    assert.match(sentence(get), /HTTP method is "GET"/);
    assert.match(sentence(call('files/nope', {})), /Unknown API function: "files\/nope"/);
    assert.match(sentence(call('toString', {})), /Unknown API function/);
  });

  it('must have a valid token', () => {
    assert.match(sentence(dropbox.unauthorized({ reason: 'missing' })), /Authorization/);
    for (const reason of ['expired', 'invalid']) {
      const { status, json } = dropbox.unauthorized({ reason });
      const tag = `${reason}_access_token`;
      assert.deepEqual([status, json.error], [401, { '.tag': tag }]);
      assert.match(json.error_summary, new RegExp(`^${tag}/\\.*$`));
    }
  });

  it('gets a response with its id and a content type without parameters', () => {
    for (const { headers } of [list(''), list('/'), list('/none')]) {
      assert.match(headers['X-Dropbox-Request-Id'], /^[\da-f]{32}$/);
    }
    assert.equal(list('').headers['Content-Type'], 'application/json');
    assert.ok(!('Content-Type' in list('/').headers));
  });
});

describe('Dropbox', () => {
  it("works with the vendor's clients and with rclone", async () => {
    const program = ['--', process.execPath, kClients];
    const { code, stdout, stderr } = await sandbox(['run', '--drives', '--internet', ...program]);
    assert.equal(code, 0, stderr);
    const folders = ['By JavaScript', 'By Python', 'By rclone', 'Photos'];
    assert.deepEqual(JSON.parse(stdout), {
      account: 'ann@example.test',
      space: [4, 'individual', 2147483648],
      'JavaScript creates': '/By JavaScript',
      'JavaScript creates again': [409, 'path/conflict/folder'],
      'JavaScript lists nothing': [409, 'path/not_found'],
      'rclone creates': 'ok',
      Python: {
        account: 'ann@example.test',
        space: [4, 2147483648],
        created: '/By Python',
        again: 'conflict folder',
        missing: 'not_found',
        folders,
      },
      'JavaScript lists, page by page': folders,
      'rclone lists': [...folders.map((name) => `${name}/`), 'a.txt'],
      'wrong token': [401, 'invalid_access_token'],
    });
  });
});
