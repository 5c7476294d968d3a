import assert from 'node:assert/strict';
import { beforeEach, describe, it } from 'node:test';
import { fileURLToPath } from 'node:url';
import { MicrosoftGraph } from '../drives/graph.mjs';
import { caller } from './emulator-calls.mjs';
import { sandbox } from './support.mjs';
import { typeErrors } from './vendor-types.mjs';

const kClients = fileURLToPath(new URL('graph-clients.mjs', import.meta.url));
const kAnn = 'ann@example.test';
const kBase = 'https://graph.microsoft.com/v1.0';
const kDrive = `${kBase}/me/drive`;
const kChildren = `${kDrive}/items/root/children`;
const kItems = [
  { name: 'Photos', items: [{ name: '2019' }, { name: 'a.jpg', kind: 'file', size: 5 }] },
  { name: 'book', kind: 'package' },
  { name: 'notes.txt', kind: 'file', size: 3 },
  { name: 'Team', kind: 'remote', items: [{ name: 'inside' }] },
];

let graph;
let call;
let ids;

beforeEach(() => {
  graph = new MicrosoftGraph();
  call = caller(graph, kAnn, ['user.read']);
  const { items } = graph.seed({ account: kAnn, items: kItems });
  ids = Object.fromEntries(items.map(({ name, id }) => [name, id]));
});

function names({ status, json }) {
  assert.equal(status, 200, JSON.stringify(json));
  return json.value.map(({ name }) => name);
}

function failure({ status, json }) {
  assert.deepEqual(Object.keys(json), ['error']);
  assert.ok(json.error.message);
  return [status, json.error.code];
}

function filtered(filter) {
  return call('GET', `${kChildren}?$filter=${encodeURIComponent(filter)}`);
}

function follow(address) {
  const pages = [];
  for (let next = address; next;) {
    const response = call('GET', next);
    pages.push(names(response));
    next = response.json['@odata.nextLink'];
  }
  return pages;
}

function create(json, parent = 'root') {
  return call('POST', `${kDrive}/items/${parent}/children`, json);
}

const kFail = { '@microsoft.graph.conflictBehavior': 'fail' };

describe('a user of Graph', () => {
  it('has a principal name, and a mailbox in an organization only', () => {
    const select = `${kBase}/me?$select=displayName,mail,userPrincipalName`;
    const { '@odata.context': context, ...user } = call('GET', select).json;
    assert.match(context, /#users\/\$entity$/);
    assert.deepEqual(user, { displayName: 'Ann Example', mail: null, userPrincipalName: kAnn });
    graph.configure({ account: kAnn, driveType: 'business' });
    assert.equal(call('GET', select).json.mail, kAnn);
    assert.deepEqual(failure(call('GET', `${kBase}/me?$select=none`)), [400, 'BadRequest']);
  });

  it('is shown by its scope only', () => {
    const withoutScope = caller(graph, kAnn);
    assert.deepEqual(failure(withoutScope('GET', `${kBase}/me`)), [
      403,
      'Authorization_RequestDenied',
    ]);
    assert.equal(withoutScope('GET', kDrive).status, 200);
  });

  it('uses the space of the files', () => {
    const { total, used, remaining } = call('GET', `${kDrive}?$select=quota`).json.quota;
    assert.deepEqual([total, used, remaining], [1099511627776, 8, 1099511627768]);
  });
});

describe('items of a Graph drive', () => {
  it('are found by id, by the alias root and by path, whatever the case', () => {
    const root = call('GET', `${kDrive}/items/root`).json;
    assert.deepEqual(root.root, {});
    assert.deepEqual(call('GET', `${kDrive}/root`).json, root);
    assert.equal(call('GET', `${kDrive}/root:/photos/2019`).json.name, '2019');
    assert.equal(call('GET', `${kDrive}/root:/photos/2019:`).json.name, '2019');
    assert.deepEqual(names(call('GET', `${kDrive}/root:/Photos:/children`)), ['2019', 'a.jpg']);
    const id = encodeURIComponent(ids.Photos).replace('!', '%21');
    assert.equal(call('GET', `${kDrive}/items/${id}`).json.name, 'Photos');
  });

  it('are the same through the id of the drive', () => {
    const drive = call('GET', kDrive).json;
    assert.equal(drive.driveType, 'personal');
    const other = drive.id.toUpperCase();
    assert.deepEqual(follow(`${kBase}/drives/${other}/root/children`), follow(kChildren));
    assert.deepEqual(failure(call('GET', `${kBase}/drives/none/root`)), [404, 'itemNotFound']);
  });

  it('have the facets of their kind', () => {
    const facets = ['folder', 'file', 'package', 'remoteItem', 'root'];
    const { value } = call('GET', kChildren).json;
    const found = value.map((item) => [item.name, ...facets.filter((facet) => facet in item)]);
    assert.deepEqual(found, [
      ['book', 'package'],
      ['notes.txt', 'file'],
      ['Photos', 'folder'],
      ['Team', 'remoteItem'],
    ]);
  });

  it('that are remote are folders of another drive', () => {
    const { id, remoteItem } = call('GET', `${kDrive}/root:/Team`).json;
    const { driveId } = remoteItem.parentReference;
    const target = `${kBase}/drives/${driveId}/items/${remoteItem.id}/children`;
    assert.deepEqual(names(call('GET', target)), ['inside']);
    const local = call('GET', `${kDrive}/items/${id}/children`);
    assert.deepEqual(failure(local), [404, 'itemNotFound']);
  });

  it('have another form on business drives', () => {
    graph.configure({ account: kAnn, driveType: 'business' });
    const drive = call('GET', kDrive).json;
    assert.equal(drive.driveType, 'business');
    assert.match(drive.id, /^b!/);
    const root = call('GET', `${kDrive}/root`).json;
    assert.match(root.id, /^01[A-Z2-7]{32}$/);
    assert.ok(!('cTag' in root));
    assert.deepEqual(names(call('GET', kChildren)), []);
  });

  it('have the shape that the vendor declares', () => {
    const annotated = `type Annotated<T> = T &
      { '@odata.context'?: string; '@odata.nextLink'?: string };`;
    const imports = "import type { Drive, DriveItem, User } from '@microsoft/microsoft-graph-types';";
    const responses = [
      { type: 'Annotated<Drive>', json: call('GET', kDrive).json },
      { type: 'Annotated<User>', json: call('GET', `${kBase}/me`).json },
      { type: 'Annotated<DriveItem>', json: call('GET', `${kDrive}/root`).json },
      { type: 'Annotated<{ value: DriveItem[] }>', json: call('GET', `${kChildren}?$top=3`).json },
      { type: 'Annotated<{ value: DriveItem[] }>', json: filtered('remoteItem ne null').json },
      { type: 'Annotated<DriveItem>', json: create({ name: 'New', folder: {} }).json },
      { type: 'DriveItem', json: { name: 'not declared', fodler: {} } },
    ];
    const [error, ...others] = typeErrors(`${imports}\n${annotated}`, responses);
    assert.match(error, /fodler/); // shows that errors are detected
    assert.deepEqual(others, []);
  });
});

describe('the children of a folder on Graph', () => {
  it('are filtered by facets joined with or and and', () => {
    assert.deepEqual(names(filtered('folder ne null')), ['Photos']);
    assert.deepEqual(names(filtered('folder ne null or remoteItem ne null')), ['Photos', 'Team']);
    assert.deepEqual(names(filtered('folder eq null and file eq null')), ['book', 'Team']);
    assert.deepEqual(names(call('GET', `${kChildren}?%24filter=folder+ne+null`)), ['Photos']);
  });

  for (const filter of ['', "name eq 'x'", 'folder ne null or', 'folder gt null', 'nope ne null']) {
    it(`are not filtered by "${filter}"`, () => {
      assert.deepEqual(failure(filtered(filter)), [400, 'notSupported']);
    });
  }

  it('may refuse or ignore filters', () => {
    for (const status of [400, 501]) {
      graph.configure({ account: kAnn, filter: status });
      assert.deepEqual(failure(filtered('folder ne null')), [status, 'notSupported']);
      assert.equal(names(call('GET', kChildren)).length, 4);
    }
    graph.configure({ account: kAnn, filter: 'ignored' });
    assert.equal(names(filtered('folder ne null')).length, 4);
  });

  it('have the properties that were selected and no others', () => {
    const { value } = call('GET', `${kChildren}?$select=id,name,folder`).json;
    const photos = value.find(({ name }) => name === 'Photos');
    assert.deepEqual(photos, { id: ids.Photos, name: 'Photos', folder: { childCount: 2 } });
    const unknown = call('GET', `${kChildren}?$select=id,nope`);
    assert.deepEqual(failure(unknown), [400, 'BadRequest']);
  });

  it('are refused for options that are invalid, unknown or given twice', () => {
    const wrong = ['$top=0', '$top=1001', '$top=x', '$nope=1', '$top=1&$top=2', '$select='];
    for (const query of wrong)
      assert.equal(call('GET', `${kChildren}?${query}`).status, 400, query);
    assert.equal(call('GET', `${kChildren}?$top=1000&other=1`).status, 200);
  });

  it('come in pages of 200 unless a size is given', () => {
    graph.seed({ account: kAnn, parent: ids.Photos, folders: 450 });
    const photos = `${kDrive}/items/${ids.Photos}/children`;
    const sizes = (address) => follow(address).map(({ length }) => length);
    assert.deepEqual(sizes(photos), [200, 200, 52]);
    assert.deepEqual(sizes(`${photos}?$top=300&$filter=folder%20ne%20null`), [300, 151]);
  });

  it('continue only with the unchanged link', () => {
    const first = `${kChildren}?$top=1&$filter=folder%20ne%20null%20or%20remoteItem%20ne%20null`;
    const link = call('GET', first).json['@odata.nextLink'];
    assert.match(link, /\$top=1&\$filter=folder\+ne\+null\+or.*&\$skiptoken='.*'$/);
    const altered = [
      link.replace('$top=1', '$top=2'),
      link.replace('$filter', '%24filter'),
      link.replaceAll('+', '%20'),
      link.replace(/\$filter=[^&]*&/, ''),
      link.replace(/skiptoken='./, "skiptoken='~"),
      `${first}&$skiptoken=${link.split('$skiptoken=')[1]}`,
    ];
    for (const address of altered) {
      assert.deepEqual(failure(call('GET', address)), [400, 'invalidRequest'], address);
    }
    const ben = caller(graph, 'ben@example.test')('GET', link);
    assert.deepEqual(failure(ben), [400, 'invalidRequest']);
    assert.deepEqual(names(call('GET', link)), ['Team']);
    assert.deepEqual(names(call('GET', link.replaceAll("'", '%27'))), ['Team']);
  });

  it('may come in short and in empty pages', () => {
    graph.configure({ account: kAnn, pageSizes: [1, 0, 2] });
    const rest = [['book'], [], ['notes.txt', 'Photos'], ['Team'], []];
    assert.deepEqual(follow(kChildren), rest);
  });

  it('may continue on another host', () => {
    graph.configure({ account: kAnn, nextLinkHost: 'elsewhere.example' });
    const link = call('GET', `${kChildren}?$top=1`).json['@odata.nextLink'];
    assert.equal(new URL(link).host, 'elsewhere.example');
  });

  it('number 50,000 and are served quickly', () => {
    graph.seed({ account: 'many', folders: 50000 });
    const from = Date.now();
    let next = `${kChildren}?$top=500&$filter=folder%20ne%20null&$select=id,name,folder`;
    let count = 0;
    while (next) {
      const { json } = caller(graph, 'many')('GET', next);
      count += json.value.length;
      next = json['@odata.nextLink'];
    }
    assert.equal(count, 50000);
    assert.ok(Date.now() - from < 10000);
  });
});

describe('a new folder on Graph', () => {
  it('is made once and then refused, whatever the case', () => {
    const made = create({ name: 'New', folder: {}, ...kFail });
    assert.equal(made.status, 201);
    assert.deepEqual([made.json.name, made.json.folder], ['New', { childCount: 0 }]);
    const again = create({ name: 'nEW', folder: {}, ...kFail });
    assert.deepEqual(failure(again), [409, 'nameAlreadyExists']);
    assert.ok(names(call('GET', kChildren)).includes('New'));
  });

  it('is the existing one on personal drives without a conflict behavior', () => {
    const response = create({ name: 'photos', folder: {} });
    assert.deepEqual([response.status, response.json.id], [200, ids.Photos]);
    const file = create({ name: 'notes.txt', folder: {} });
    assert.deepEqual(failure(file), [409, 'nameAlreadyExists']);
  });

  it('is refused on business drives without a conflict behavior', () => {
    graph.configure({ account: kAnn, driveType: 'business' });
    assert.equal(create({ name: 'New', folder: {} }).status, 201);
    const again = create({ name: 'New', folder: {} });
    assert.deepEqual(failure(again), [409, 'nameAlreadyExists']);
  });

  it('gets another name on request, in the body or in the address', () => {
    const rename = '@microsoft.graph.conflictBehavior=rename';
    const body = { name: 'Photos', folder: {}, '@name.conflictBehavior': 'rename' };
    assert.equal(create(body).json.name, 'Photos 1');
    const response = call('POST', `${kChildren}?${rename}`, { name: 'Photos', folder: {} });
    assert.equal(response.json.name, 'Photos 2');
  });

  it('may be made in a folder given by id or path', () => {
    assert.equal(create({ name: 'New', folder: {} }, ids.Photos).status, 201);
    const address = `${kDrive}/root:/Photos/New:/children`;
    assert.equal(call('POST', address, { name: 'Deep', folder: {} }).status, 201);
    assert.equal(call('GET', `${kDrive}/root:/Photos/New/Deep`).status, 200);
  });

  const kBadNames = [
    '',
    'a/b',
    'a\\b',
    'a:b',
    'a*b',
    'a?b',
    '"',
    '<',
    '>',
    'a|b',
    ' a',
    'a ',
    'a.',
  ];
  for (const name of [...kBadNames, 'CON', 'lpt1', '.lock', '~$x', 'x'.repeat(256)]) {
    it(`cannot be called "${name.slice(0, 10)}"`, () => {
      assert.deepEqual(failure(create({ name, folder: {} })), [400, 'invalidRequest']);
    });
  }

  it('is refused for an invalid request', () => {
    assert.equal(failure(create({ name: 'New' }))[0], 400);
    assert.equal(failure(create({ folder: {} }))[0], 400);
    assert.equal(failure(create({ name: 'New', folder: {}, nope: 1 }))[0], 400);
    assert.equal(failure(create('{"name":'))[0], 400);
    const odd = { name: 'New', folder: {}, '@microsoft.graph.conflictBehavior': 'odd' };
    assert.equal(failure(create(odd))[0], 400);
    const headers = { 'content-type': 'application/x-www-form-urlencoded' };
    assert.equal(failure(call('POST', kChildren, { name: 'New', folder: {} }, headers))[0], 415);
    assert.deepEqual(failure(create({ name: 'New', folder: {} }, 'no')), [404, 'itemNotFound']);
    assert.equal(failure(call('DELETE', `${kDrive}/items/${ids.Photos}`))[0], 405);
  });
});

describe('Graph', () => {
  it('refuses requests without a valid token', () => {
    for (const reason of ['missing', 'expired', 'invalid']) {
      const response = graph.unauthorized({ reason, host: 'graph.microsoft.com' });
      assert.deepEqual(failure(response), [401, 'InvalidAuthenticationToken']);
      assert.match(response.headers['WWW-Authenticate'], /^Bearer /);
    }
  });

  it('responds with the ids of requests', () => {
    const response = call('GET', kDrive, undefined, { 'client-request-id': 'mine' });
    assert.equal(response.headers['client-request-id'], 'mine');
    assert.match(response.headers['request-id'], /^[\da-f-]{36}$/);
  });

  it('separates accounts and refuses unknown settings', () => {
    assert.deepEqual(names(caller(graph, 'ben@example.test')('GET', kChildren)), []);
    assert.throws(() => graph.configure({ account: kAnn, nope: 1 }), /no setting nope/);
    assert.throws(() => graph.configure({ account: kAnn, pageSizes: [0] }), /pageSizes/);
    assert.throws(() => graph.seed({ account: kAnn, parent: 'no' }), /has no no/);
  });

  it("works with the vendor's client and with rclone", async () => {
    const program = ['--', process.execPath, kClients];
    const { code, stdout, stderr } = await sandbox(['run', '--drives', '--internet', ...program]);
    assert.equal(code, 0, stderr);
    assert.deepEqual(JSON.parse(stdout), {
      user: ['Ann Example', 'ann@example.test'],
      space: [3, 1099511627776],
      'drive type': 'personal',
      create: 'By the client',
      'create again': [409, 'nameAlreadyExists'],
      missing: [404, 'itemNotFound'],
      'rclone creates': 'ok',
      'rclone lists': ['By rclone/', 'By the client/', 'Photos/', 'Team/', 'notes.txt'],
      'rclone lists a shared folder': ['inside/'],
      'the client lists, page by page': ['By rclone', 'By the client', 'Photos', 'Team'],
      'wrong token': [401, 'InvalidAuthenticationToken'],
    });
  });
});
