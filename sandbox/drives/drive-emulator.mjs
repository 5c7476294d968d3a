// What the emulated drives share: accounts, each with a tree and settings, and control over them.

/** Thrown where a request is no good; `answer` is what its sender gets. */
export class Refusal extends Error {
  constructor(answer) {
    super('the request is refused');
    this.answer = answer;
  }
}

/** Who an account belongs to: accounts are named by e-mail addresses. */
export function holderOf(account) {
  const [local] = account.split('@');
  const given = local.charAt(0).toUpperCase() + local.slice(1);
  return { email: account, given, surname: 'Example', name: `${given} Example` };
}

/** The JSON object in a request's body; undefined where there is none. */
export function parseObject(body) {
  try {
    const json = JSON.parse(new TextDecoder('utf-8', { fatal: true }).decode(body));
    return typeof json === 'object' && json !== null && !Array.isArray(json) ? json : undefined;
  } catch {
    return undefined;
  }
}

/** A part of a path without its percent-encoding; undefined where that is broken. */
export function decodeSegment(text) {
  try {
    return decodeURIComponent(text);
  } catch {
    return undefined;
  }
}

/** A setting that is one of `values`. */
export function oneOf(...values) {
  return (value) => values.includes(value);
}

/** The setting `pageSizes`: see turnPage(). */
export function isPageSizes(value) {
  return (
    value === null ||
    (Array.isArray(value) &&
      value.every((size) => Number.isInteger(size) && size >= 0) &&
      value.some((size) => size > 0))
  );
}

export class DriveEmulator {
  #accounts = new Map();
  #settings;

  /** `settings` says by name how every account behaves at first, and what may be set instead. */
  constructor(settings) {
    this.#settings = settings;
  }

  /** The account's { name, settings, ... }, made when first asked for. */
  account(name) {
    if (!this.#accounts.has(name)) {
      const settings = Object.entries(this.#settings).map(([key, { value }]) => [key, value]);
      this.#accounts.set(name, this.open({ name, settings: Object.fromEntries(settings) }));
    }
    return this.#accounts.get(name);
  }

  /** Changes how the service behaves towards an account. */
  configure({ account, ...changes }) {
    for (const [name, value] of Object.entries(changes)) {
      if (!Object.hasOwn(this.#settings, name)) {
        const known = Object.keys(this.#settings).join(', ');
        throw new Error(`there is no setting ${name}; known are ${known}`);
      }
      if (!this.#settings[name].check(value)) throw new Error(`no value for ${name}`);
    }
    const opened = this.account(account);
    Object.assign(opened.settings, changes);
    this.settingsChanged(opened, changes);
  }

  /** Adds `items` below `parent`, and as many numbered folders as `folders` says. */
  seed({ account, parent, items = [], folders = 0 }) {
    const opened = this.account(account);
    const folder = this.#existing(opened, parent);
    for (let number = 0; number < folders; number += 1) {
      this.plant(opened, folder, { name: `folder-${String(number).padStart(5, '0')}` });
    }
    return { items: this.#plantAll(opened, folder, items) };
  }

  /** What is in a folder. */
  inspect({ account, parent }) {
    const opened = this.account(account);
    const folder = this.#existing(opened, parent);
    const describe = (node) => ({ id: this.referenceOf(node), name: node.name, kind: node.kind });
    return { children: opened.tree.children(folder).map(describe) };
  }

  /** Completes { name, settings } to an account; an emulator adds at least its `tree`. */
  open(account) {
    throw new Error(`nothing opens ${account.name}`);
  }

  settingsChanged() {}

  /** Adds a node as given by seed(). */
  plant(account, parent, facts) {
    return account.tree.add(parent, facts);
  }

  /** The node that seed() and inspect() are told of by `reference`. */
  resolve(account, reference) {
    return account.tree.get(reference);
  }

  referenceOf(node) {
    return node.id;
  }

  #existing(account, reference) {
    if (reference === undefined) return account.tree.root;
    const node = this.resolve(account, reference);
    if (!node) throw new Error(`${account.name} has no ${reference}`);
    return node;
  }

  #plantAll(account, parent, items) {
    return items.map(({ items: inner = [], ...facts }) => {
      const node = this.plant(account, parent, facts);
      const id = this.referenceOf(node);
      return { id, name: node.name, items: this.#plantAll(account, node, inner) };
    });
  }
}
