// Listings that go on over several requests.

import { randomBytes } from 'node:crypto';

const kTokenBytes = 18;

/** Opaque tokens, each standing for something the server has to remember. */
export class PageTokens {
  #tokens = new Map();
  #now;
  #lifetime;
  #capacity;

  /** Tokens are forgotten after `lifetime` milliseconds, and the oldest beyond `capacity`. */
  constructor({ now, lifetime = Infinity, capacity = 100000 }) {
    this.#now = now;
    this.#lifetime = lifetime;
    this.#capacity = capacity;
  }

  issue(remembered) {
    const token = randomBytes(kTokenBytes).toString('base64url');
    this.#tokens.set(token, { remembered, issued: this.#now() });
    if (this.#tokens.size > this.#capacity) this.#tokens.delete(this.#tokens.keys().next().value);
    return token;
  }

  /** What the token stands for; undefined for one that is unknown or too old. */
  find(token) {
    const entry = this.#tokens.get(token);
    if (entry && this.#now() - entry.issued <= this.#lifetime) return entry.remembered;
    this.#tokens.delete(token);
    return undefined;
  }
}

/**
 * One page of `entries`, and from where the listing goes on: undefined after the last page.
 * `pageSizes` cuts pages shorter than `length`, in turn; 0 makes a page empty, the last one too.
 */
export function turnPage({ entries, offset = 0, number = 0 }, length, pageSizes) {
  const sizeOf = (page) => Math.min(length, pageSizes?.[page % pageSizes.length] ?? length);
  const end = offset + sizeOf(number);
  const goesOn = end < entries.length || (offset < entries.length && sizeOf(number + 1) === 0);
  return {
    page: entries.slice(offset, end),
    rest: goesOn ? { entries, offset: end, number: number + 1 } : undefined,
  };
}
