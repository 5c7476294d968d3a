// The files and folders of one Google Drive, identified by id: names need not be unique.

import { createHash, randomBytes } from 'node:crypto';
import { kFolderType } from './google-drive-query.mjs';

const kFileType = 'application/octet-stream';

class File {
  constructor(facts) {
    Object.assign(this, facts);
  }

  get kind() {
    return this.mimeType === kFolderType ? 'folder' : 'file';
  }

  /** What is in a trashed folder is trashed too. */
  get isTrashed() {
    return this.trashed || (this.parent?.isTrashed ?? false);
  }

  isIn(id) {
    return this.parent !== undefined && (id === this.parent.id || id === this.parent.alias);
  }
}

export class GoogleFiles {
  #now;
  #files = new Map();
  #children = new Map(); // folder -> files, oldest first

  constructor({ rootName, now }) {
    this.#now = now;
    const id = `0A${randomId(9)}Uk9PVA`;
    this.root = this.#insert({ id, alias: 'root', name: rootName, mimeType: kFolderType });
  }

  /** The file with this id, or the root by its alias; undefined if there is none. */
  get(id) {
    return id === this.root.alias ? this.root : this.#files.get(id);
  }

  children(folder) {
    return this.#children.get(folder) ?? [];
  }

  all() {
    return [...this.#files.values()].filter((file) => file !== this.root);
  }

  /** Adds a file or folder. `facts` holds the name and optionally other properties of a File. */
  add(parent, { kind = 'folder', mimeType, ...facts }) {
    const type = mimeType ?? (kind === 'folder' ? kFolderType : kFileType);
    const file = this.#insert({ ...facts, id: `1${randomId(32)}`, mimeType: type, parent });
    if (!this.#children.has(parent)) this.#children.set(parent, []);
    this.#children.get(parent).push(file);
    return file;
  }

  #insert({ created = this.#now(), modified = created, ...facts }) {
    const file = new File({ trashed: false, size: 0, ...facts, created, modified });
    this.#files.set(file.id, file);
    return file;
  }
}

function randomId(length) {
  return randomBytes(length).toString('base64url').slice(0, length);
}

/** The service's JSON for a file. */
export function fileJson(file) {
  return {
    kind: 'drive#file',
    id: file.id,
    name: file.name,
    description: file.description,
    mimeType: file.mimeType,
    starred: false,
    trashed: file.isTrashed,
    explicitlyTrashed: file.trashed,
    ...(file.parent && { parents: [file.parent.id] }),
    spaces: ['drive'],
    createdTime: new Date(file.created).toISOString(),
    modifiedTime: new Date(file.modified).toISOString(),
    ownedByMe: true,
    shared: false,
    ...(file.kind === 'file' && contentJson(file)),
  };
}

// Files have no content here, so the checksum is that of the id, which is unique.
function contentJson({ id, size }) {
  const md5Checksum = createHash('md5').update(id).digest('hex');
  return { size: `${size}`, quotaBytesUsed: `${size}`, md5Checksum };
}
