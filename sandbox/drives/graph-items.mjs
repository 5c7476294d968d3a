// Drives and drive items, and their JSON in Microsoft Graph.

import { createHash } from 'node:crypto';
import { holderOf } from './drive-emulator.mjs';
import { ancestry, FolderTree } from './folder-tree.mjs';

const kBase32 = 'ABCDEFGHIJKLMNOPQRSTUVWXYZ234567';
const kQuota = 1099511627776;
const kContext = 'https://graph.microsoft.com/v1.0/$metadata#';

export class GraphDrive extends FolderTree {
  /** The form of the ids depends on `type`: "personal", or any other, such as "business". */
  constructor({ type, owner, now }) {
    const bytes = digest(owner);
    const isPersonal = type === 'personal';
    const prefix = bytes.toString('hex').slice(0, 16).toUpperCase();
    super({
      makeId: (serial) => (isPersonal ? `${prefix}!${100 + serial}` : businessId(owner, serial)),
      now,
      rootName: 'root',
    });
    this.type = type;
    this.owner = owner;
    this.id = isPersonal ? prefix.toLowerCase() : `b!${bytes.toString('base64url').slice(0, 64)}`;
    this.root.drive = this;
  }

  /** Whether `id` is that of this drive; ids of personal drives are case-insensitive. */
  is(id) {
    return this.id === (this.type === 'personal' ? id.toLowerCase() : id);
  }

  add(parent, facts) {
    return super.add(parent, { ...facts, drive: this });
  }
}

export function driveJson(drive) {
  return {
    '@odata.context': `${kContext}drives/$entity`,
    createdDateTime: date(drive.root.created),
    description: '',
    id: drive.id,
    name: 'OneDrive',
    webUrl: webUrl(drive.root.id),
    driveType: drive.type,
    owner: { user: user(drive) },
    quota: {
      deleted: 0,
      remaining: kQuota - drive.usedSpace,
      state: 'normal',
      total: kQuota,
      used: drive.usedSpace,
    },
  };
}

/** The user who owns a drive. Those of personal drives have no mailbox of an organization. */
export function userJson(drive) {
  const { email, given, surname, name } = holderOf(drive.owner);
  return {
    '@odata.context': `${kContext}users/$entity`,
    businessPhones: [],
    displayName: name,
    givenName: given,
    jobTitle: null,
    mail: drive.type === 'personal' ? null : email,
    mobilePhone: null,
    officeLocation: null,
    preferredLanguage: 'en',
    surname,
    userPrincipalName: email,
    id: digest(drive.owner).toString('hex').slice(0, 16),
  };
}

export function itemJson(node) {
  const { drive } = node;
  const json = {
    createdDateTime: date(node.created),
    eTag: `"{${node.id}},1"`,
    id: node.id,
    lastModifiedDateTime: date(node.modified),
    name: node.name,
    size: node.size,
    webUrl: webUrl(node.id),
    createdBy: { user: user(drive) },
    lastModifiedBy: { user: user(drive) },
    parentReference: parentReference(node),
    fileSystemInfo: fileSystemInfo(node),
    ...facets(node),
  };
  // Folders of business drives have none.
  if (drive.type === 'personal' || node.kind === 'file') json.cTag = `"c:{${node.id}},1"`;
  return json;
}

export function withContext(json) {
  return { '@odata.context': `${kContext}drives/root/$entity`, ...json };
}

/** The facets, which distinguish folders from other items. */
export function facets(node) {
  switch (node.kind) {
    case 'file':
      return { file: { mimeType: 'application/octet-stream' } };
    case 'package': // a notebook, which is neither a folder nor a file
      return { package: { type: 'oneNote' } };
    case 'remote':
      return { remoteItem: remoteItem(node.target) };
    default:
      return { folder: { childCount: childCount(node) }, ...(node.parent ? {} : { root: {} }) };
  }
}

function remoteItem(target) {
  const { drive } = target;
  return {
    id: target.id,
    name: target.name,
    size: target.size,
    webUrl: webUrl(target.id),
    folder: { childCount: childCount(target) },
    fileSystemInfo: fileSystemInfo(target),
    parentReference: { driveType: drive.type, driveId: drive.id, id: target.parent.id },
  };
}

function parentReference(node) {
  const { drive } = node;
  const reference = { driveType: drive.type, driveId: drive.id };
  if (!node.parent) return reference;
  const prefix = drive.type === 'personal' ? '/drive' : `/drives/${drive.id}`;
  const path = ancestry(node.parent).map(({ name }) => `/${encodeURIComponent(name)}`);
  return { ...reference, id: node.parent.id, path: `${prefix}/root:${path.join('')}` };
}

function fileSystemInfo({ created, modified }) {
  return { createdDateTime: date(created), lastModifiedDateTime: date(modified) };
}

function childCount(node) {
  return node.children?.size ?? 0;
}

function user({ owner }) {
  return { displayName: holderOf(owner).name, id: digest(owner).toString('hex').slice(-16) };
}

function webUrl(id) {
  return `https://onedrive.live.com/?id=${encodeURIComponent(id)}`;
}

function date(milliseconds) {
  return new Date(milliseconds).toISOString();
}

function businessId(owner, serial) {
  const letters = Array.from(digest(`${owner} ${serial}`), (byte) => kBase32[byte % 32]);
  return `01${letters.join('').slice(0, 32)}`;
}

function digest(text) {
  return createHash('sha512').update(text).digest();
}
