// The requests that went through the proxy, for tests to read. Query values and headers are left
// out, as they contain signatures and tokens.

const kMostEntries = 20000;

export class RequestLog {
  #entries = [];

  /** Adds a request; the caller sets `status` and `fault` of the returned entry later. */
  add({ connection, proxy, credential, scheme, method, host, target }) {
    const [path, query] = target.split(/\?(.*)/s);
    const queryNames = [...new URLSearchParams(query ?? '').keys()];
    const entry = {
      connection,
      proxy,
      credential,
      scheme,
      method,
      host,
      path,
      queryNames,
      status: null,
      fault: null,
    };
    this.#entries.push(entry);
    if (this.#entries.length > kMostEntries) this.#entries.shift();
    return entry;
  }

  clear() {
    this.#entries = [];
  }

  list() {
    return this.#entries;
  }
}
