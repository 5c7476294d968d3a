// The table of hosts and the local servers that serve them.

/** Whether `pattern`, a host name or `*.` and a parent domain, matches `host`. */
export function hostMatches(pattern, host) {
  return pattern.startsWith('*.') ? host.endsWith(pattern.slice(1)) : host === pattern;
}

export class Routes {
  #defaults;
  #routes;

  constructor(defaults) {
    this.#defaults = defaults;
    this.reset();
  }

  reset() {
    this.#routes = [...this.#defaults];
  }

  /** Adds a route, which takes precedence over earlier ones. */
  add({ host, target }) {
    if (typeof host !== 'string' || host === '') throw new Error('"host" must be a host name');
    const url = new URL(target);
    if (url.protocol !== 'http:' || url.hostname !== '127.0.0.1') {
      throw new Error('"target" must be http://127.0.0.1:PORT');
    }
    this.#routes.unshift({ host: host.toLowerCase(), target });
  }

  /** The base URL that serves `host`, or undefined. */
  find(host) {
    return this.#routes.find((route) => hostMatches(route.host, host))?.target;
  }

  list() {
    return [...this.#routes];
  }
}
