// Listings that take several requests.

import { randomBytes } from 'node:crypto';

const kTokenBytes = 18;

/** Opaque tokens, each of which stands for data that the server keeps. */
export class PageTokens {
  #tokens = new Map();
  #now;
  #lifetime;
  #capacity;

  /** Tokens expire after `lifetime` milliseconds; beyond `capacity` the oldest are removed. */
  constructor({ now, lifetime = Infinity, capacity = 100000 }) {
    this.#now = now;
    this.#lifetime = lifetime;
    this.#capacity = capacity;
  }

  /** A new token that stands for `data`. */
  issue(data) {
    const token = randomBytes(kTokenBytes).toString('base64url');
    this.#tokens.set(token, { data, issued: this.#now() });
    if (this.#tokens.size > this.#capacity) this.#tokens.delete(this.#tokens.keys().next().value);
    return token;
  }

  /** The data of a token; undefined for one that is unknown or has expired. */
  find(token) {
    const entry = this.#tokens.get(token);
    if (entry && this.#now() - entry.issued <= this.#lifetime) return entry.data;
    this.#tokens.delete(token);
    return undefined;
  }
}

/**
 * One `page` of `entries`, and the `rest` to pass for the next one, undefined after the last page.
 * `pageSizes` limits pages, in turn, to fewer entries than `length`; 0 makes a page empty, the last
 * one too.
 */
export function takePage({ entries, offset = 0, number = 0 }, length, pageSizes) {
  const sizeOf = (page) => Math.min(length, pageSizes?.[page % pageSizes.length] ?? length);
  const end = offset + sizeOf(number);
  const hasMore = end < entries.length || (offset < entries.length && sizeOf(number + 1) === 0);
  return {
    page: entries.slice(offset, end),
    rest: hasMore ? { entries, offset: end, number: number + 1 } : undefined,
  };
}
