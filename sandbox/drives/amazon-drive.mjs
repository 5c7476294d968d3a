// An emulator of Amazon Drive's RESTful API v1, limited to what folders need.

import { createHash, randomUUID } from 'node:crypto';
import { parseFilters, parseSort, queryNodes } from './amazon-query.mjs';
import {
  decodeSegment,
  DriveEmulator,
  holderOf,
  isPageSizes,
  parseObject,
  Refusal,
} from './drive-emulator.mjs';
import { FolderTree } from './folder-tree.mjs';
import { PageTokens, takePage } from './paging.mjs';

const kHosts = {
  endpoint: 'drive.amazonaws.com',
  metadata: 'cdws.us-east-1.amazonaws.com',
  content: 'content-na.drive.amazonaws.com',
  profile: 'api.amazon.com',
};
const kLargestPage = 200;
const kTokenLifetime = 10 * 60 * 1000;
const kLongestName = 256;
const kProfileScope = 'profile';
const kQuota = 5 * 1024 ** 3;
const kNewMembers = ['name', 'kind', 'parents', 'labels', 'properties', 'description'];

const kSettings = {
  pageSizes: { value: null, check: isPageSizes },
  // Members that replace those of the endpoint's response; null removes one.
  endpoint: { value: {}, check: (value) => typeof value === 'object' && value !== null },
  profile: { value: {}, check: (value) => typeof value === 'object' && value !== null },
};

export class AmazonDrive extends DriveEmulator {
  static hosts = Object.values(kHosts);

  #now;

  constructor({ now = Date.now } = {}) {
    super(kSettings);
    this.#now = now;
  }

  open(account) {
    const makeId = (serial) => digest(`${account.name} ${serial}`).slice(0, 22);
    const tree = new FolderTree({ makeId, now: this.#now });
    const tokens = new PageTokens({ now: this.#now, lifetime: kTokenLifetime });
    return { ...account, tree, tokens };
  }

  unauthorized({ reason, host }) {
    if (host === kHosts.profile) {
      const description = `The request has an invalid parameter : access_token (${reason})`;
      return withRequestId({
        status: reason === 'expired' ? 401 : 400,
        json: {
          error: reason === 'missing' ? 'invalid_request' : 'invalid_token',
          error_description: description,
          request_id: randomUUID(),
        },
      });
    }
    return withRequestId({ status: 401, json: errorJson('', `The token is ${reason}.`) });
  }

  respond(request) {
    return withRequestId(this.#route(request, this.account(request.account)));
  }

  refused(_, response) {
    return withRequestId(response);
  }

  #route(request, account) {
    const { host, method, path } = request;
    const [, id, children] = /^\/drive\/v1\/nodes(?:\/([^/]+)(\/children)?)?$/.exec(path) ?? [];
    switch (`${method} ${host}${id ? path.replace(`/${id}`, '/ID') : path}`) {
      case `GET ${kHosts.endpoint}/drive/v1/account/endpoint`:
        return jsonResponse(merge(defaultEndpoint(), account.settings.endpoint));
      case `GET ${kHosts.profile}/user/profile`:
        if (!request.scopes.includes(kProfileScope)) refuseProfile();
        return jsonResponse(merge(defaultProfile(account.name), account.settings.profile));
      case `GET ${kHosts.endpoint}/drive/v1/account/quota`:
      case `GET ${kHosts.metadata}/drive/v1/account/quota`:
        return jsonResponse(quotaOf(account));
      case `GET ${kHosts.metadata}/drive/v1/account/info`:
        return jsonResponse({ termsOfUse: '1.0.0', status: 'ACTIVE' });
      case `GET ${kHosts.metadata}/drive/v1/nodes`:
        return this.#list(request, account, [[]]);
      case `GET ${kHosts.metadata}/drive/v1/nodes/ID`:
        return jsonResponse(nodeJson(findNode(account.tree, id)));
      case `GET ${kHosts.metadata}/drive/v1/nodes/ID${children ?? ''}`:
        return this.#list(request, account, childrenOf(findNode(account.tree, id)));
      case `POST ${kHosts.metadata}/drive/v1/nodes`:
        return createFolder(request, account.tree);
      default:
        return refuse(404, '', `There is no ${method} ${path} here.`);
    }
  }

  /** One page of the nodes that match the request's filters and one of `alternatives`. */
  #list({ path, query }, { tree, tokens, settings }, alternatives) {
    const limit = readLimit(query.get('limit'));
    const filters = parseFilters(query.get('filters') ?? '');
    if (!filters) refuse(400, '', 'The filters are not valid.');
    const compare = parseSort(query.get('sort') ?? '');
    if (!compare) refuse(400, '', 'The sort is not valid.');
    const queryKey = [path, query.get('filters'), query.get('sort')].join('\n');

    const token = query.get('startToken');
    const terms = filters.flatMap((one) => alternatives.map((other) => [...one, ...other]));
    const listing = token
      ? resume(tokens, token, queryKey)
      : { entries: queryNodes(tree, terms, compare), queryKey };
    const { page, rest } = takePage(listing, limit, settings.pageSizes);
    const json = { count: listing.entries.length, data: page.map(nodeJson) };
    if (rest) json.nextToken = tokens.issue({ ...rest, queryKey });
    return jsonResponse(json);
  }
}

function resume(tokens, token, queryKey) {
  const listing = tokens.find(token);
  if (!listing) refuse(400, '', 'Next token is expired or not valid.');
  if (listing.queryKey !== queryKey) refuse(400, '', 'Next token belongs to another query.');
  return listing;
}

function readLimit(text) {
  const limit = /^\d{1,9}$/.test(text ?? kLargestPage) ? Number(text ?? kLargestPage) : 0;
  if (limit >= 1 && limit <= kLargestPage) return limit;
  return refuse(400, '', `The limit must be 1 to ${kLargestPage}.`);
}

function childrenOf({ id }) {
  return [[{ field: 'parents', value: id }]];
}

function findNode(tree, encodedId) {
  const id = decodeSegment(encodedId) ?? refuse(400, '', 'The address is not well encoded.');
  return tree.get(id) ?? refuse(404, '', 'The node does not exist.');
}

function createFolder({ headers, body }, tree) {
  // A missing type is accepted, because a widely used client sends none.
  if (!/^application\/json(?:;|$)/i.test(headers['content-type'] ?? 'application/json')) {
    refuse(415, '', 'The content type must be application/json.');
  }
  const { name, parents = [tree.root.id] } = readNewNode(body);
  const parent = tree.get(parents[0]) ?? refuse(404, '', 'The parent does not exist.');
  if (parent.kind !== 'folder') refuse(400, '', 'The parent is not a folder.');
  const existing = tree.child(parent, name);
  if (!existing) return jsonResponse(nodeJson(tree.add(parent, { name })), 201);
  const conflict =
    `Node with the name ${name} already exists under parentId ${parent.id} ` +
    `conflicting NodeId: ${existing.id}`;
  return refuse(409, 'NAME_ALREADY_EXISTS', conflict, { info: { nodeId: existing.id } });
}

function readNewNode(body) {
  const json = parseObject(body);
  if (!json) refuse(400, '', 'The body is not a JSON object.');
  const unknown = Object.keys(json).find((member) => !kNewMembers.includes(member));
  if (unknown) refuse(400, '', `${unknown} is not a member of a new node.`);
  const { kind, name, parents } = json;
  if (kind !== 'FOLDER') refuse(400, '', 'Only nodes of kind FOLDER are made without content.');
  if (typeof name !== 'string' || name === '' || name.length > kLongestName) {
    refuse(400, '', 'The name is not valid.');
  }
  if (parents !== undefined && !(Array.isArray(parents) && parents.length === 1)) {
    refuse(400, '', 'A node has one parent.');
  }
  return json;
}

function nodeJson(node) {
  const json = {
    eTagResponse: digest(node.id).slice(0, 11),
    id: node.id,
    kind: node.kind.toUpperCase(),
    version: 1,
    labels: [],
    createdDate: new Date(node.created).toISOString(),
    modifiedDate: new Date(node.modified).toISOString(),
    createdBy: 'CloudDriveWeb',
    isShared: false,
    parents: node.parent ? [node.parent.id] : [],
    status: node.status ?? 'AVAILABLE',
    restricted: false,
  };
  if (!node.parent) return { ...json, isRoot: true };
  if (node.kind === 'folder') return { ...json, name: node.name };
  const contentType = 'application/octet-stream';
  return { ...json, name: node.name, contentProperties: { contentType, size: node.size } };
}

function defaultEndpoint() {
  return {
    contentUrl: `https://${kHosts.content}/cdproxy/`,
    countryAtSignup: 'US',
    customerExists: true,
    metadataUrl: `https://${kHosts.metadata}/drive/v1/`,
    region: 'NA',
  };
}

function defaultProfile(account) {
  const { email, name } = holderOf(account);
  return { user_id: `amzn1.account.${digest(account).slice(0, 13).toUpperCase()}`, email, name };
}

function quotaOf({ tree }) {
  return {
    quota: kQuota,
    lastCalculated: new Date(tree.root.modified).toISOString(),
    available: kQuota - tree.usedSpace,
    plans: [],
    grants: [],
    benefits: [],
  };
}

function refuseProfile() {
  const description = 'The access token provided does not have the necessary scope.';
  const json = { error: 'insufficient_scope', error_description: description };
  throw new Refusal({ status: 403, json: { ...json, request_id: randomUUID() } });
}

function merge(defaults, changes) {
  const members = Object.entries({ ...defaults, ...changes });
  return Object.fromEntries(members.filter(([, value]) => value !== null));
}

function jsonResponse(json, status = 200) {
  return { status, json };
}

function refuse(status, code, message, more = {}) {
  throw new Refusal({ status, json: errorJson(code, message, more) });
}

function errorJson(code, message, more = {}) {
  return { logref: randomUUID(), message, code, ...more };
}

function withRequestId(response) {
  return { ...response, headers: { 'x-amzn-RequestId': randomUUID() } };
}

function digest(text) {
  return createHash('sha256').update(text).digest('base64url');
}
