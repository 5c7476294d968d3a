// Which local server stands for which host.

/** Whether `pattern`, a host name or `*.` and a parent domain, covers `host`. */
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

  /** Later routes win over earlier ones. */
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
