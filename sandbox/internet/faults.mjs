// The pending faults: which requests they affect, how, and how often.

import { hostMatches } from './routes.mjs';

const kNumber = 'number';
const kText = 'string';
const kObject = 'object';

// The kinds of fault, each with the members it takes beside the common ones.
const kKinds = {
  status: { status: kNumber, headers: kObject, body: kText }, // replaces the server's response
  latency: { milliseconds: kNumber }, // a pause before the request is forwarded
  reset: {}, // the connection is reset before a response
  resetBody: {}, // reset after half of the body
  shortBody: {}, // closed cleanly after half of the declared body
  drip: { milliseconds: kNumber, bytes: kNumber }, // chunks of `bytes`, a pause after each
  hang: {}, // no response ever
};
const kCommon = {
  kind: kText,
  host: kText,
  method: kText,
  pathPrefix: kText,
  count: kNumber,
  after: kNumber,
};
const kDefaults = { count: 1, after: 0 };
const kKindDefaults = {
  status: { status: 503, headers: {}, body: '' },
  latency: { milliseconds: 1000 },
  drip: { milliseconds: 20, bytes: 16 },
};

export class Faults {
  #pending = [];

  add(given) {
    if (given === null || typeof given !== 'object') throw new Error('a fault is a JSON object');
    if (!Object.hasOwn(kKinds, given.kind)) {
      throw new Error(`"kind" must be one of ${Object.keys(kKinds).join(', ')}`);
    }
    const members = { ...kCommon, ...kKinds[given.kind] };
    for (const [name, value] of Object.entries(given)) {
      if (!Object.hasOwn(members, name)) throw new Error(`${given.kind} takes no "${name}"`);
      if (value === null || typeof value !== members[name])
        throw new Error(`"${name}" must be of type ${members[name]}`);
    }
    this.#pending.push({ ...kDefaults, ...kKindDefaults[given.kind], ...given });
  }

  clear() {
    this.#pending = [];
  }

  list() {
    return [...this.#pending];
  }

  /** The fault that affects this request, its count reduced by one; undefined if there is none. */
  take(request) {
    const fault = this.#pending.find((candidate) => matches(candidate, request));
    if (!fault) return undefined;
    if (fault.after > 0) {
      fault.after -= 1;
      return undefined;
    }
    fault.count -= 1;
    if (fault.count <= 0) this.#pending = this.#pending.filter((other) => other !== fault);
    return fault;
  }
}

function matches(fault, { host, method, target }) {
  if (fault.host !== undefined && !hostMatches(fault.host, host)) return false;
  if (fault.method !== undefined && fault.method !== method) return false;
  return fault.pathPrefix === undefined || target.startsWith(fault.pathPrefix);
}
