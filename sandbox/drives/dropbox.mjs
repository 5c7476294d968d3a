// An emulator of Dropbox's HTTP API v2, limited to what folders need.

import { createHash, randomBytes } from 'node:crypto';
import { DriveEmulator, holderOf, isPageSizes, Refusal } from './drive-emulator.mjs';
import { kArguments, readArguments, refuseCall } from './dropbox-arguments.mjs';
import { ancestry, FolderTree } from './folder-tree.mjs';
import { PageTokens, takePage } from './paging.mjs';

const kEntriesPerPage = 2000;
const kCursor = /^AA[\w-]+$/;
const kLongestName = 255;
const kAccountScope = 'account_info.read';

const kSettings = {
  // The space that the account may use, by itself or in a team.
  allocation: {
    value: { '.tag': 'individual', allocated: 2 * 1024 ** 3 },
    check: (value) => typeof value === 'object' && value !== null,
  },
  pageSizes: { value: null, check: isPageSizes },
  // The continuation with this number from now on (1 is the next) fails with `reset`.
  resetOnContinuation: {
    value: null,
    check: (value) => value === null || (Number.isInteger(value) && value > 0),
  },
};

export class Dropbox extends DriveEmulator {
  static hosts = ['api.dropboxapi.com'];

  #functions = {
    'files/list_folder': (account, given) => this.#listFolder(account, given),
    'files/list_folder/continue': (account, given) => this.#continue(account, given),
    'files/create_folder_v2': createFolder,
    'files/get_metadata': getMetadata,
    'users/get_current_account': (account) => describeAccount(account.name),
    'users/get_space_usage': ({ tree, settings }) => ({
      used: tree.usedSpace,
      allocation: settings.allocation,
    }),
  };
  #now;

  constructor({ now = Date.now } = {}) {
    super(kSettings);
    this.#now = now;
  }

  open(account) {
    const idOf = (serial) => digest(`${account.name} ${serial}`, 'base64url').slice(0, 22);
    const tree = new FolderTree({ makeId: (serial) => `id:${idOf(serial)}`, now: this.#now });
    return { ...account, tree, cursors: new PageTokens({ now: this.#now }) };
  }

  resolve(account, path) {
    return account.tree.follow(account.tree.root, path.split('/').filter(Boolean));
  }

  referenceOf(node) {
    return pathOf(node);
  }

  unauthorized({ reason }) {
    if (reason === 'missing') {
      return withRequestId({ status: 400, text: 'Must provide HTTP header "Authorization".' });
    }
    const tag = `${reason}_access_token`;
    return withRequestId({ status: 401, json: errorJson([tag]) });
  }

  respond(request) {
    return withRequestId({ status: 200, json: this.#call(request) });
  }

  refused(_, response) {
    return withRequestId(response);
  }

  #call(request) {
    const name = request.path.replace(/^\/2\//, '');
    if (!Object.hasOwn(kArguments, name)) {
      throw new Refusal({ status: 400, text: `Unknown API function: "${name}"` });
    }
    if (request.method !== 'POST') {
      refuseCall(name, `Your request's HTTP method is "${request.method}", it must be "POST".`);
    }
    const given = readArguments(name, request);
    if (name.startsWith('users/') && !request.scopes.includes(kAccountScope)) {
      const json = errorJson(['missing_scope']);
      json.error.required_scope = kAccountScope;
      throw new Refusal({ status: 401, json });
    }
    return this.#functions[name](this.account(request.account), given);
  }

  #listFolder(account, { path, recursive = false, limit }) {
    if (path === '/') {
      const advice = 'Specify the root folder as an empty string rather than as "/".';
      refuseCall('files/list_folder', `request body: path: ${advice}`);
    }
    const folder = find(account, path);
    if (folder.kind !== 'folder') refuse('path', 'not_folder');
    const listing = {
      folder,
      recursive,
      length: limit ?? kEntriesPerPage,
      since: account.tree.serial,
      entries: entriesOf(account.tree, folder, recursive),
    };
    return nextPage(account, listing);
  }

  #continue(account, { cursor }) {
    const { settings, cursors } = account;
    if (!kCursor.test(cursor)) {
      refuseCall('files/list_folder/continue', 'Invalid "cursor" parameter.');
    }
    if (settings.resetOnContinuation !== null) {
      settings.resetOnContinuation -= 1;
      if (settings.resetOnContinuation === 0) {
        settings.resetOnContinuation = null;
        refuse('reset');
      }
    }
    const listing = cursors.find(cursor.slice(2));
    if (!listing) refuse('reset');
    return nextPage(account, listing.entries ? listing : changesSince(account, listing));
  }
}

// Every page has a cursor; the one of the last page leads to what is added later.
function nextPage(account, { offset, number, ...listing }) {
  const { page, rest } = takePage(
    { entries: listing.entries, offset, number },
    listing.length,
    account.settings.pageSizes,
  );
  const next = { ...listing, ...(rest ?? { entries: undefined }) };
  return {
    entries: page.map((node) => ({ '.tag': node.kind, ...metadata(node) })),
    cursor: `AA${account.cursors.issue(next)}`,
    has_more: rest !== undefined,
  };
}

function changesSince({ tree }, listing) {
  const isNew = ({ serial }) => serial > listing.since;
  const isQuiet = tree.serial === listing.since;
  const entries = isQuiet ? [] : entriesOf(tree, listing.folder, listing.recursive).filter(isNew);
  return { ...listing, entries, since: tree.serial };
}

function entriesOf(tree, folder, recursive) {
  if (!recursive) return tree.children(folder);
  const below = (node) => [
    node,
    ...(node.kind === 'folder' ? tree.children(node).flatMap(below) : []),
  ];
  const all = below(folder);
  return folder === tree.root ? all.slice(1) : all;
}

function createFolder(account, { path, autorename = false }) {
  const { tree } = account;
  if (path === '/') refuse('path', 'malformed_path');
  const names = splitPath(path.replace(/^ns:\d+/, ''));
  const name = names.pop();
  let parent = tree.root;
  for (const step of names) parent = folderAt(tree, parent, step);
  const existing = tree.child(parent, name);
  if (existing && !autorename) refuse('path', 'conflict', existing.kind);
  const node = tree.add(parent, { name: existing ? freeName(tree, parent, name) : name });
  return { metadata: metadata(node) };
}

function folderAt(tree, parent, name) {
  const node = tree.child(parent, name) ?? tree.add(parent, { name });
  if (node.kind !== 'folder') refuse('path', 'conflict', 'file_ancestor');
  return node;
}

function freeName(tree, parent, name) {
  let number = 1;
  while (tree.child(parent, `${name} (${number})`)) number += 1;
  return `${name} (${number})`;
}

function getMetadata(account, { path }) {
  if (path === '' || path === '/') {
    refuseCall('files/get_metadata', 'request body: path: The root folder is unsupported.');
  }
  const node = find(account, path);
  return { '.tag': node.kind, ...metadata(node) };
}

/** The node at a path, which may start with an id. */
function find({ tree }, path) {
  const [, id, below] = /^(id:[^/]*)?([^]*)$/.exec(path);
  const start = id ? tree.get(id) : tree.root;
  const node = start && tree.follow(start, below ? splitPath(below) : []);
  return node ?? refuse('path', 'not_found');
}

function splitPath(path) {
  const names = path.slice(1).split('/');
  if (!path.startsWith('/') || !names.every(isName)) refuse('path', 'malformed_path');
  return names;
}

function isName(name) {
  return name !== '' && name.length <= kLongestName && !/[\\\0]|\s$|^\.{1,2}$/.test(name);
}

function metadata(node) {
  const path = pathOf(node);
  const common = {
    name: node.name,
    id: node.id,
    path_lower: path.toLowerCase(),
    path_display: path,
  };
  if (node.kind === 'folder') return common;
  return {
    ...common,
    client_modified: date(node.modified),
    server_modified: date(node.modified),
    rev: digest(node.id, 'hex').slice(0, 16),
    size: node.size,
    is_downloadable: true,
  };
}

function pathOf(node) {
  return ancestry(node)
    .map(({ name }) => `/${name}`)
    .join('');
}

/** The id of an account, which the token endpoint returns too. */
export function accountId(account) {
  return `dbid:AA${digest(account, 'base64url').slice(0, 33)}`;
}

function describeAccount(account) {
  const { email, given, surname, name } = holderOf(account);
  const namespace = `${parseInt(digest(account, 'hex').slice(0, 6), 16)}`;
  return {
    account_id: accountId(account),
    name: {
      given_name: given,
      surname,
      familiar_name: given,
      display_name: name,
      abbreviated_name: given.slice(0, 1) + surname.slice(0, 1),
    },
    email,
    email_verified: true,
    disabled: false,
    locale: 'en',
    referral_link: 'https://www.dropbox.com/referrals/none',
    is_paired: false,
    account_type: { '.tag': 'basic' },
    root_info: { '.tag': 'user', root_namespace_id: namespace, home_namespace_id: namespace },
    country: 'DE',
  };
}

function refuse(...tags) {
  throw new Refusal({ status: 409, json: errorJson(tags) });
}

// The summary ends in a random number of dots, so that no client compares the whole of it.
function errorJson(tags) {
  const error = tags.reduceRight(
    (inner, tag) => ({ '.tag': tag, ...(inner && { [tag]: inner }) }),
    undefined,
  );
  return { error_summary: `${tags.join('/')}/${'.'.repeat(randomBytes(1)[0] % 4)}`, error };
}

// Some clients parse JSON only if the content type has no parameters.
function withRequestId(response) {
  const headers = { 'X-Dropbox-Request-Id': randomBytes(16).toString('hex') };
  if (response.json) headers['Content-Type'] = 'application/json';
  return { ...response, headers };
}

function digest(text, encoding) {
  return createHash('sha256').update(text).digest(encoding);
}

function date(milliseconds) {
  return `${new Date(milliseconds).toISOString().slice(0, 19)}Z`;
}
