// An emulator of Microsoft Graph v1.0, limited to what folders in OneDrive need.

import { randomUUID } from 'node:crypto';
import {
  decodeSegment,
  DriveEmulator,
  isPageSizes,
  oneOf,
  parseObject,
} from './drive-emulator.mjs';
import { driveJson, facets, GraphDrive, itemJson, userJson, withContext } from './graph-items.mjs';
import {
  kDriveProperties,
  kItemProperties,
  kUserProperties,
  readFilter,
  readOptions,
  readSelect,
  readTop,
  refuse,
} from './graph-query.mjs';
import { PageTokens, takePage } from './paging.mjs';

const kHost = 'graph.microsoft.com';
const kUserScope = 'user.read';
// A drive, or an item in it: the root, an item by its id, or one by its path from either of them.
const kRoute = new RegExp(
  '^/v1\\.0(?:/me/drive|/drives/(?<drive>[^/]+))' +
    '(?:/(?<start>root|items/(?<item>[^/:]+))' +
    '(?:(?<children>/children)?|:/(?<path>[^:]+)(?::(?<pathChildren>/children)?)?))?$',
);
// The second name is an older form.
const kConflict = ['@microsoft.graph.conflictBehavior', '@name.conflictBehavior'];
const kCreateMembers = ['name', 'folder', 'description', 'fileSystemInfo', ...kConflict];
const kForbiddenName = new RegExp(
  '["*:<>?/\\\\|\\x00-\\x1f]|^ | $|\\.$|^~\\$|^\\.lock$|^desktop\\.ini$|_vti_|' +
    '^(?:con|prn|aux|nul|com\\d|lpt\\d)$',
  'i',
);
const kLongestName = 255;

const kUnauthorized = {
  missing: 'Access token is empty.',
  expired: 'Access token has expired or is not yet valid.',
  invalid: 'CompactToken parsing failed.',
};

const kSettings = {
  // A change replaces the drive by an empty one.
  driveType: { value: 'personal', check: oneOf('personal', 'business', 'documentLibrary') },
  // Whether $filter is applied, silently ignored, or refused with this status.
  filter: { value: 'applied', check: oneOf('applied', 'ignored', 400, 501) },
  // The host of the links to next pages.
  nextLinkHost: { value: kHost, check: (value) => typeof value === 'string' },
  pageSizes: { value: null, check: isPageSizes },
};

export class MicrosoftGraph extends DriveEmulator {
  static hosts = [kHost];

  #now;

  constructor({ now = Date.now } = {}) {
    super(kSettings);
    this.#now = now;
  }

  open(account) {
    const tokens = new PageTokens({ now: this.#now });
    return { ...account, ...this.#makeDrives(account), tokens };
  }

  settingsChanged(account, changes) {
    if (changes.driveType) Object.assign(account, this.#makeDrives(account));
  }

  /** A remote item refers to a folder in another user's drive, which contains its children. */
  addItem(account, parent, facts) {
    const folder = parent.target ?? parent;
    if (facts.kind !== 'remote') return folder.drive.add(folder, facts);
    const target = account.foreign.add(account.foreign.root, { name: facts.name });
    return folder.drive.add(folder, { ...facts, target });
  }

  unauthorized({ reason }) {
    const response = this.#error({}, 401, 'InvalidAuthenticationToken', kUnauthorized[reason]);
    response.headers['WWW-Authenticate'] = 'Bearer realm="", error="invalid_token"';
    return response;
  }

  refused({ headers }, { status, code, message }) {
    return this.#error(headers, status, code, message);
  }

  respond(request) {
    const account = this.account(request.account);
    if (request.path === '/v1.0/me') return this.#user(request, account);
    const route = kRoute.exec(request.path)?.groups;
    if (!route) refuse(400, 'BadRequest', 'Resource not found for the segment.');
    const drive = findDrive(account, route.drive);
    if (!route.start) {
      requireMethod(request, 'GET');
      return this.#select(request, driveJson(drive), kDriveProperties);
    }
    const node = findItem(drive, route);
    if (!route.children && !route.pathChildren) {
      requireMethod(request, 'GET');
      return this.#select(request, withContext(itemJson(node)), kItemProperties);
    }
    if (node.kind !== 'folder') refuse(404, 'itemNotFound', 'The item is not a folder here.');
    if (request.method === 'POST') return this.#create(request, node);
    requireMethod(request, 'GET');
    return this.#list(request, account, node);
  }

  #user(request, { tree }) {
    requireMethod(request, 'GET');
    if (!request.scopes.includes(kUserScope)) {
      refuse(403, 'Authorization_RequestDenied', 'Insufficient privileges to complete the operation.');
    }
    return this.#select(request, userJson(tree), kUserProperties);
  }

  #select(request, json, properties) {
    const options = readOptions(request.query, ['$select']);
    return this.#jsonResponse(request, 200, readSelect(options.$select, properties)(json));
  }

  #list(request, account, folder) {
    const { settings } = account;
    const options = readOptions(request.query, ['$top', '$filter', '$select', '$skiptoken']);
    const top = readTop(options.$top);
    const select = readSelect(options.$select, kItemProperties);
    const listing = options.$skiptoken
      ? resume(account, request, options.$skiptoken)
      : { entries: matches(folder, options.$filter, settings.filter) };

    const { page, rest } = takePage(listing, top, settings.pageSizes);
    const json = {
      '@odata.context': `https://${kHost}/v1.0/$metadata#drive/items/children`,
      value: page.map((node) => select(itemJson(node))),
    };
    if (rest) json['@odata.nextLink'] = nextLink(account, request, rest);
    return this.#jsonResponse(request, 200, json);
  }

  #create(request, parent) {
    const { drive } = parent;
    const body = readBody(request);
    const { name } = body;
    const behavior = readConflict(body, request.query);
    const existing = drive.child(parent, name);
    if (!existing) return this.#created(request, drive.add(parent, { name }));
    if (behavior === 'rename') {
      const free = freeName(drive, parent, name);
      return this.#created(request, drive.add(parent, { name: free }));
    }
    const effective = behavior ?? (drive.type === 'personal' ? 'existing' : 'fail');
    if (effective === 'fail' || existing.kind !== 'folder') {
      refuse(409, 'nameAlreadyExists', 'The specified item name already exists.');
    }
    return this.#jsonResponse(request, 200, withContext(itemJson(existing)));
  }

  #created(request, node) {
    return this.#jsonResponse(request, 201, withContext(itemJson(node)));
  }

  #jsonResponse({ headers }, status, json) {
    return { status, headers: requestIds(headers), json };
  }

  #error(requestHeaders, status, code, message) {
    const headers = requestIds(requestHeaders);
    const date = new Date(this.#now()).toISOString().slice(0, 19);
    const json = { error: { code, message, innerError: { date, ...headers } } };
    return { status, headers, json };
  }

  #makeDrives({ name, settings }) {
    const type = settings.driveType;
    return {
      tree: new GraphDrive({ type, owner: name, now: this.#now }),
      foreign: new GraphDrive({ type, owner: `colleague.of.${name}`, now: this.#now }),
    };
  }
}

function requireMethod({ method }, expected) {
  if (method !== expected) refuse(405, 'methodNotAllowed', `${method} is not supported here.`);
}

function findDrive(account, encodedId) {
  if (encodedId === undefined) return account.tree;
  const id = decode(encodedId);
  const drive = [account.tree, account.foreign].find((candidate) => candidate.is(id));
  return drive ?? refuse(404, 'itemNotFound', 'The drive could not be found.');
}

function findItem(drive, { item, path }) {
  const id = item && decode(item);
  const start = !id || id === 'root' ? drive.root : drive.get(id);
  const names = path?.split('/').filter(Boolean).map(decode) ?? [];
  const node = start && drive.follow(start, names);
  return node ?? refuse(404, 'itemNotFound', 'The resource could not be found.');
}

function decode(text) {
  return decodeSegment(text) ?? refuse(400, 'invalidRequest', 'The address is not well encoded.');
}

function matches(folder, filter, mode) {
  const nodes = folder.drive.children(folder);
  if (filter === undefined || mode === 'ignored') return nodes;
  if (mode !== 'applied') refuse(mode, 'notSupported', 'Operation not supported');
  const test = readFilter(filter);
  return nodes.filter((node) => test(facets(node)));
}

// Clients must use the link unchanged, so it has a form that a client which parses it and builds it
// again is unlikely to produce.
function nextLink({ tokens, settings }, { path, query }, rest) {
  const options = [...query]
    .filter(([name]) => name !== '$skiptoken')
    .map(([name, value]) => `${name}=${encodeURIComponent(value).replaceAll('%20', '+')}`);
  const resumed = { ...rest };
  const token = `'${tokens.issue(resumed)}'`;
  resumed.link = `${path}?${[...options, `$skiptoken=${token}`].join('&')}`;
  return `https://${settings.nextLinkHost}${resumed.link}`;
}

function resume({ tokens }, { path, rawQuery }, token) {
  const listing = tokens.find(token.slice(1, -1));
  // The URL parsers of browsers and node encode an apostrophe in a query as %27.
  if (listing?.link === `${path}?${rawQuery.replaceAll('%27', "'")}`) return listing;
  return refuse(400, 'invalidRequest', 'The link to the next page was altered.');
}

function readBody({ headers, body }) {
  if (!/^application\/json(?:;|$)/i.test(headers['content-type'] ?? '')) {
    refuse(415, 'UnsupportedMediaType', 'The content type must be application/json.');
  }
  const json = parseObject(body);
  if (!json) refuse(400, 'BadRequest', 'Unable to read JSON request payload.');
  const unknown = Object.keys(json).find((name) => !kCreateMembers.includes(name));
  if (unknown) refuse(400, 'BadRequest', `The property '${unknown}' does not exist here.`);
  if (typeof json.folder !== 'object' || json.folder === null) {
    refuse(400, 'invalidRequest', 'A folder facet must be given.');
  }
  if (typeof json.name !== 'string' || !isName(json.name)) {
    refuse(400, 'invalidRequest', 'The provided name is not valid.');
  }
  return json;
}

function readConflict(body, query) {
  const given = kConflict.map((name) => body[name] ?? query.get(name)).find((value) => value);
  if (given && !['fail', 'rename', 'replace'].includes(given)) {
    refuse(400, 'invalidRequest', 'Invalid conflict behavior.');
  }
  return given;
}

function isName(name) {
  return name.length > 0 && name.length <= kLongestName && !kForbiddenName.test(name);
}

function freeName(drive, parent, name) {
  let number = 1;
  while (drive.child(parent, `${name} ${number}`)) number += 1;
  return `${name} ${number}`;
}

function requestIds(headers) {
  const id = randomUUID();
  return { 'request-id': id, 'client-request-id': headers['client-request-id'] ?? id };
}
