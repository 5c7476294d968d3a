// The folders and files of one drive. Names keep their case and are compared case-insensitively.

/** The form of a name that is compared. */
export function nameKey(name) {
  return name.toLowerCase();
}

export class FolderTree {
  #nodes = new Map();
  #makeId;
  #now;
  #serial = 0;

  /** `makeId` makes an id from a serial number; the tree starts with only its root folder. */
  constructor({ makeId, now, rootName = '' }) {
    this.#makeId = makeId;
    this.#now = now;
    this.root = this.#insert({ name: rootName });
  }

  /** The number of nodes added so far; a node's `serial` is this number just after its addition. */
  get serial() {
    return this.#serial;
  }

  get nodes() {
    return this.#nodes.values();
  }

  /** The bytes of all files. */
  get usedSpace() {
    return [...this.nodes].reduce((sum, { size }) => sum + size, 0);
  }

  get(id) {
    return this.#nodes.get(id);
  }

  child(folder, name) {
    return folder.children?.get(nameKey(name));
  }

  /** Sorted by name. The sorted list is kept, because large folders are requested page by page. */
  children(folder) {
    folder.ordered ??= [...(folder.children?.values() ?? [])].sort((left, right) =>
      left.key < right.key ? -1 : 1,
    );
    return folder.ordered;
  }

  /** Adds a folder, or a node of the kind `facts.kind`; throws if the name exists already. */
  add(parent, facts) {
    if (parent.kind !== 'folder') throw new Error(`${parent.name} is not a folder`);
    if (this.child(parent, facts.name)) throw new Error(`${facts.name} exists already`);
    const node = this.#insert({ ...facts, parent });
    parent.children ??= new Map();
    parent.children.set(node.key, node);
    parent.ordered = undefined;
    return node;
  }

  /** The node at a path of names below `folder`; undefined if there is none. */
  follow(folder, names) {
    return names.reduce((node, name) => node && this.child(node, name), folder);
  }

  #insert(facts) {
    this.#serial += 1;
    const at = this.#now();
    const node = { kind: 'folder', size: 0, created: at, modified: at, ...facts };
    node.id = this.#makeId(this.#serial);
    node.key = nameKey(node.name);
    node.serial = this.#serial;
    this.#nodes.set(node.id, node);
    return node;
  }
}

/** The nodes from just below the root down to `node`. */
export function ancestry(node) {
  const line = [];
  for (let at = node; at.parent; at = at.parent) line.unshift(at);
  return line;
}
