// The faults waiting to happen: what to spoil, when, and how often.

import { hostMatches } from './routes.mjs';

const kNumber = 'number';
const kText = 'string';
const kObject = 'object';

// What each kind does, and the members it takes beside the common ones.
const kKinds = {
  status: { status: kNumber, headers: kObject, body: kText }, // this answer instead of the server's
  latency: { milliseconds: kNumber }, // a pause before the request goes on
  reset: {}, // the connection is reset, nothing answered
  resetBody: {}, // reset after half of the body
  shortBody: {}, // closed in good order after half of the promised body
  drip: { milliseconds: kNumber, bytes: kNumber }, // pieces of `bytes`, a pause after each
  hang: {}, // never answered
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
  #waiting = [];

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
    this.#waiting.push({ ...kDefaults, ...kKindDefaults[given.kind], ...given });
  }

  clear() {
    this.#waiting = [];
  }

  list() {
    return [...this.#waiting];
  }

  /** The fault this request meets, used up by one; undefined when it meets none. */
  take(request) {
    const fault = this.#waiting.find((candidate) => concerns(candidate, request));
    if (!fault) return undefined;
    if (fault.after > 0) {
      fault.after -= 1;
      return undefined;
    }
    fault.count -= 1;
    if (fault.count <= 0) this.#waiting = this.#waiting.filter((other) => other !== fault);
    return fault;
  }
}

function concerns(fault, { host, method, target }) {
  if (fault.host !== undefined && !hostMatches(fault.host, host)) return false;
  if (fault.method !== undefined && fault.method !== method) return false;
  return fault.pathPrefix === undefined || target.startsWith(fault.pathPrefix);
}
