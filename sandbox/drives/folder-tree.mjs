// The folders and files of one drive: names are kept as given and compared without regard to case.

/** What two names must share to be the same name. */
export function nameKey(name) {
  return name.toLowerCase();
}

export class FolderTree {
  #nodes = new Map();
  #makeId;
  #now;
  #serial = 0;

  /** `makeId` gives the next id; the tree starts with its root folder alone. */
  constructor({ makeId, now, rootName = '' }) {
    this.#makeId = makeId;
    this.#now = now;
    this.root = this.#insert({ name: rootName });
  }

  /** Grows with every node; a node's `serial` is what it was when the node came. */
  get serial() {
    return this.#serial;
  }

  get nodes() {
    return this.#nodes.values();
  }

  get(id) {
    return this.#nodes.get(id);
  }

  child(folder, name) {
    return folder.children?.get(nameKey(name));
  }

  /** Ordered by name. Large folders are asked for page by page, hence kept in order. */
  children(folder) {
    folder.ordered ??= [...(folder.children?.values() ?? [])].sort((left, right) =>
      left.key < right.key ? -1 : 1,
    );
    return folder.ordered;
  }

  /** Adds a folder, or what `facts.kind` says; throws where the name is taken. */
  add(parent, facts) {
    if (parent.kind !== 'folder') throw new Error(`${parent.name} is not a folder`);
    if (this.child(parent, facts.name)) throw new Error(`${facts.name} exists already`);
    const node = this.#insert({ ...facts, parent });
    parent.children ??= new Map();
    parent.children.set(node.key, node);
    parent.ordered = undefined;
    return node;
  }

  /** The node at a path of names below `folder`, or undefined. */
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
