// An emulator of Google Drive v3, limited to what folders need. Anything else is refused.

import {
  decodeSegment,
  DriveEmulator,
  holderOf,
  isPageSizes,
  parseObject,
  Refusal,
} from './drive-emulator.mjs';
import { kShapes, readFields } from './google-drive-fields.mjs';
import { fileJson, GoogleFiles } from './google-drive-files.mjs';
import { invalidParameter, readQuery, sorted } from './google-drive-query.mjs';
import { PageTokens, takePage } from './paging.mjs';

const kHost = 'www.googleapis.com';
const kScope = 'https://www.googleapis.com/auth/drive';
const kRoute = /^\/drive\/v3\/(?:about|(?<files>files)(?:\/(?<id>[^/]+))?)$/;
const kLargestPage = 1000;
const kDefaultPage = 100;
const kBytesOfDrive = `${15 * 1024 ** 3}`;
const kTokenLifetime = 3 * 3600 * 1000;
const kShortDescription = 'kind,id,name,mimeType';
const kShortList = `kind,incompleteSearch,nextPageToken,files(${kShortDescription})`;

const kSettings = {
  rootName: { value: 'My Drive', check: (value) => typeof value === 'string' },
  pageSizes: { value: null, check: isPageSizes },
};

// The parameters of each operation; undefined allows any value.
const kFlags = ['true', 'false'];
const kCommonParameters = {
  alt: ['json'],
  fields: undefined,
  key: undefined,
  prettyPrint: kFlags,
  quotaUser: undefined,
  supportsAllDrives: kFlags,
  supportsTeamDrives: kFlags,
};
const kGetParameters = { ...kCommonParameters, acknowledgeAbuse: kFlags };
const kListParameters = {
  ...kCommonParameters,
  corpora: ['user', 'allDrives'],
  includeItemsFromAllDrives: kFlags,
  includeTeamDriveItems: kFlags,
  orderBy: undefined,
  pageSize: undefined,
  pageToken: undefined,
  q: undefined,
  spaces: ['drive'],
};
const kCreateParameters = {
  ...kCommonParameters,
  enforceSingleParent: kFlags,
  ignoreDefaultVisibility: kFlags,
  keepRevisionForever: kFlags,
};

const kUnauthorized = {
  missing: ['required', 'Login Required'],
  expired: ['authError', 'Invalid Credentials'],
  invalid: ['authError', 'Invalid Credentials'],
};

export class GoogleDrive extends DriveEmulator {
  static hosts = [kHost];

  #now;
  #tokens;

  constructor({ now = Date.now } = {}) {
    super(kSettings);
    this.#now = now;
    this.#tokens = new PageTokens({ now, lifetime: kTokenLifetime });
  }

  open(account) {
    const tree = new GoogleFiles({ rootName: account.settings.rootName, now: this.#now });
    return { ...account, tree };
  }

  settingsChanged({ tree }, { rootName }) {
    if (rootName !== undefined) tree.root.name = rootName;
  }

  unauthorized({ reason: why }) {
    const [reason, message] = kUnauthorized[why];
    const where = { locationType: 'header', location: 'Authorization' };
    const response = errorResponse({ status: 401, reason, message, ...where });
    response.json.error.status = 'UNAUTHENTICATED';
    response.headers['WWW-Authenticate'] = 'Bearer realm="https://accounts.google.com/"';
    return response;
  }

  refused(_, response) {
    return errorResponse(response);
  }

  respond(request) {
    const { method, path, scopes } = request;
    if (!scopes.includes(kScope)) refuse(403, 'insufficientPermissions', 'Insufficient Permission');
    const route = kRoute.exec(path)?.groups;
    if (!route) return htmlPage(404, 'Not Found');
    const account = this.account(request.account);
    if (method === 'GET') {
      if (!route.files) return about(account, request);
      return route.id ? get(account.tree, request, route.id) : this.#list(account, request);
    }
    if (method !== 'POST' || route.id || !route.files) return htmlPage(405, 'Method Not Allowed');
    return create(account.tree, request);
  }

  #list({ tree, settings, name }, { query }) {
    checkParameters(query, kListParameters);
    const cut = readFields(query.get('fields') ?? kShortList, kShapes.list);
    const length = readPageSize(query.get('pageSize'));
    const listing = query.get('pageToken')
      ? this.#resume(query, name)
      : { entries: find(tree, query.get('q') ?? '', query.get('orderBy')) };

    const { page, rest } = takePage(listing, length, settings.pageSizes);
    const json = {
      kind: 'drive#fileList',
      ...(rest && { nextPageToken: this.#issue(rest, query, name) }),
      incompleteSearch: false,
      files: page.map(fileJson),
    };
    return jsonResponse(cut(json));
  }

  // A token is valid only with the query that it was issued for.
  #issue(rest, query, account) {
    const token = this.#tokens.issue({ ...rest, queryKey: keyOf(query, account) });
    return `~!!~${token}`;
  }

  #resume(query, account) {
    const [, token] = /^~!!~(.+)$/.exec(query.get('pageToken')) ?? [];
    const listing = this.#tokens.find(token);
    if (listing?.queryKey === keyOf(query, account)) return listing;
    throw invalidParameter('pageToken');
  }
}

function keyOf(query, account) {
  const names = ['q', 'orderBy', 'corpora', 'spaces', 'includeItemsFromAllDrives'];
  return JSON.stringify([account, ...names.map((name) => query.get(name))]);
}

function find(tree, text, orderBy) {
  const { matches, parent } = readQuery(text);
  if (parent !== undefined && !tree.get(parent)) refuseMissing('');
  const candidates = parent === undefined ? tree.all() : tree.children(tree.get(parent));
  const found = candidates.filter(matches);
  // The service guarantees no order; the newest first exposes clients that rely on another one.
  return orderBy ? sorted(found, orderBy) : found.reverse();
}

function about({ tree, name }, { query }) {
  checkParameters(query, kCommonParameters);
  if (!query.has('fields')) {
    const message = "The 'fields' parameter is required for this method.";
    throw invalidParameter('fields', { reason: 'required', message });
  }
  const usage = `${tree.all().reduce((sum, { size }) => sum + size, 0)}`;
  const json = {
    kind: 'drive#about',
    user: { kind: 'drive#user', displayName: holderOf(name).name, me: true, emailAddress: name },
    storageQuota: { limit: kBytesOfDrive, usage, usageInDrive: usage, usageInDriveTrash: '0' },
  };
  return jsonResponse(readFields(query.get('fields'), kShapes.about)(json));
}

function get(tree, { query }, encodedId) {
  checkParameters(query, kGetParameters);
  const cut = readFields(query.get('fields') ?? kShortDescription, kShapes.file);
  const id = decodeSegment(encodedId) ?? refuse(400, 'badRequest', 'Bad Request');
  return jsonResponse(cut(fileJson(existing(tree, id))));
}

function create(tree, { query, headers, body }) {
  if (!headers['content-length'] && !headers['transfer-encoding'])
    return htmlPage(411, 'Length Required');
  checkParameters(query, kCreateParameters);
  const cut = readFields(query.get('fields') ?? kShortDescription, kShapes.file);
  const given = readBody(headers, body);
  const { parents, createdTime, modifiedTime } = given;
  if (parents?.length > 1) {
    refuse(403, 'cannotAddParent', 'Increasing the number of parents is not allowed');
  }
  const parent = existing(tree, parents?.[0] ?? 'root');
  if (parent.kind !== 'folder') {
    refuse(403, 'parentNotAFolder', 'The specified parent is not a folder.');
  }
  const file = tree.add(parent, {
    name: given.name ?? 'Untitled',
    description: given.description,
    mimeType: given.mimeType ?? 'application/octet-stream',
    created: readTime(createdTime),
    modified: readTime(modifiedTime),
  });
  return jsonResponse(cut(fileJson(file)));
}

const kMembers = {
  name: isText,
  description: isText,
  mimeType: isText,
  parents: (value) => Array.isArray(value) && value.every(isText),
  createdTime: isText,
  modifiedTime: isText,
};

function isText(value) {
  return typeof value === 'string';
}

function readBody(headers, body) {
  const type = headers['content-type'] ?? '';
  if (!/^application\/json(?:;|$)/i.test(type)) {
    refuse(400, 'badContent', `Unsupported content with type: ${type}`);
  }
  const json = parseObject(body) ?? refuse(400, 'parseError', 'Parse Error');
  for (const [name, value] of Object.entries(json)) {
    if (!Object.hasOwn(kMembers, name)) refuse(400, 'invalid', `The sandbox knows no ${name}`);
    if (!kMembers[name](value)) refuse(400, 'invalid', `Invalid value for: ${name}`);
  }
  return json;
}

function readTime(text) {
  if (text === undefined) return undefined;
  const time = Date.parse(text);
  return Number.isNaN(time) ? refuse(400, 'invalid', 'Invalid value for: time') : time;
}

function readPageSize(text) {
  if (text === null) return kDefaultPage;
  const size = /^\d+$/.test(text) ? Number(text) : 0;
  if (size >= 1 && size <= kLargestPage) return size;
  const message = `Invalid value '${text}'. Values must be within the range: [1, ${kLargestPage}]`;
  throw invalidParameter('pageSize', { reason: 'invalidParameter', message });
}

function checkParameters(query, known) {
  for (const [name, value] of query) {
    const isKnown = Object.hasOwn(known, name) && query.getAll(name).length === 1;
    if (!isKnown || (known[name] && !known[name].includes(value)))
      throw invalidParameter(name, { reason: 'invalidParameter' });
  }
}

function existing(tree, id) {
  return tree.get(id) ?? refuseMissing(id);
}

function refuseMissing(id) {
  const where = { locationType: 'parameter', location: 'fileId' };
  return refuse(404, 'notFound', `File not found: ${id}.`, where);
}

function refuse(status, reason, message, where = {}) {
  throw new Refusal({ status, reason, message, ...where });
}

function jsonResponse(json) {
  return { status: 200, headers: { 'Content-Type': 'application/json; charset=UTF-8' }, json };
}

function errorResponse({ status, reason, message, ...where }) {
  const errors = [{ message, domain: 'global', reason, ...where }];
  return { ...jsonResponse({ error: { code: status, message, errors } }), status };
}

function htmlPage(status, title) {
  const text = `<!DOCTYPE html><html><title>Error ${status} (${title})!!1</title></html>\n`;
  return { status, headers: { 'Content-Type': 'text/html; charset=UTF-8' }, text };
}
