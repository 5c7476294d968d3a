// The common part of the emulated drives: accounts with a tree and settings, and their control.

/** Thrown for a request that is not valid; `response` describes the response to it. */
export class Refusal extends Error {
  constructor(response) {
    super('the request is refused');
    this.response = response;
  }
}

/** The owner of an account; accounts are named by e-mail addresses. */
export function holderOf(account) {
  const [local] = account.split('@');
  const given = local.charAt(0).toUpperCase() + local.slice(1);
  return { email: account, given, surname: 'Example', name: `${given} Example` };
}

/** The JSON object in a request's body; undefined if the body is anything else. */
export function parseObject(body) {
  try {
    const json = JSON.parse(new TextDecoder('utf-8', { fatal: true }).decode(body));
    return typeof json === 'object' && json !== null && !Array.isArray(json) ? json : undefined;
  } catch {
    return undefined;
  }
}

/** A path segment with its percent-encoding decoded; undefined if that is malformed. */
export function decodeSegment(text) {
  try {
    return decodeURIComponent(text);
  } catch {
    return undefined;
  }
}

/** The check of a setting whose value is one of `values`. */
export function oneOf(...values) {
  return (value) => values.includes(value);
}

/** The check of the setting `pageSizes`, see takePage(). */
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

  /** `settings` holds by name the { value } that every account starts with and its { check }. */
  constructor(settings) {
    this.#settings = settings;
  }

  /** The account's { name, settings, ... }, created at its first use. */
  account(name) {
    if (!this.#accounts.has(name)) {
      const settings = Object.entries(this.#settings).map(([key, { value }]) => [key, value]);
      this.#accounts.set(name, this.open({ name, settings: Object.fromEntries(settings) }));
    }
    return this.#accounts.get(name);
  }

  /** The response to a request; a Refusal becomes the service's error response. */
  handle(request) {
    try {
      return this.respond(request);
    } catch (error) {
      if (!(error instanceof Refusal)) throw error;
      return this.refused(request, error.response);
    }
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

  /** Adds `items` and a number of `folders` with numbered names below `parent`. */
  seed({ account, parent, items = [], folders = 0 }) {
    const opened = this.account(account);
    const folder = this.#existing(opened, parent);
    for (let number = 0; number < folders; number += 1) {
      this.addItem(opened, folder, { name: `folder-${String(number).padStart(5, '0')}` });
    }
    return { items: this.#addItems(opened, folder, items) };
  }

  /** The { children } of a folder. */
  inspect({ account, parent }) {
    const opened = this.account(account);
    const folder = this.#existing(opened, parent);
    const describe = (node) => ({ id: this.referenceOf(node), name: node.name, kind: node.kind });
    return { children: opened.tree.children(folder).map(describe) };
  }

  /** The response to a request; throws a Refusal for one that is not valid. */
  respond(request) {
    throw new Error(`nothing responds to ${request.path}`);
  }

  /** The error response made from the `response` of a Refusal. */
  refused(request, response) {
    return response;
  }

  /** Makes an account from { name, settings }; an emulator adds at least its `tree`. */
  open(account) {
    throw new Error(`nothing opens ${account.name}`);
  }

  /** Called after configure() with the account and the changed settings. */
  settingsChanged() {}

  /** Adds a node as given to seed(). */
  addItem(account, parent, facts) {
    return account.tree.add(parent, facts);
  }

  /** The node that `reference` in seed() and inspect() stands for. */
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

  #addItems(account, parent, items) {
    return items.map(({ items: inner = [], ...facts }) => {
      const node = this.addItem(account, parent, facts);
      const id = this.referenceOf(node);
      return { id, name: node.name, items: this.#addItems(account, node, inner) };
    });
  }
}
