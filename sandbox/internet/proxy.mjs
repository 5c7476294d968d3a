// An HTTP forward proxy that stands in for the internet: it terminates TLS itself and forwards each
// request to the local server that serves the host.

import http from 'node:http';
import { TLSSocket } from 'node:tls';
import { respondLocally, exchange } from './exchange.mjs';

let lastConnection = 0;

export class Proxy {
  #name;
  #credential;
  #shared;
  #sockets = new Set();
  #facts = new WeakMap(); // socket -> { connection, scheme, tcp, credential? } of the client
  #server = http.createServer((request, response) => this.#serve(request, response));

  /**
   * `shared` holds the { routes, faults, log, authority } of all proxies. With `credential`
   * ({ user, password }) the proxy requires it.
   */
  constructor(name, shared, credential) {
    this.#name = name;
    this.#shared = shared;
    this.#credential = credential;
    this.#server.keepAliveTimeout = 0; // connections stay open until the client closes them
    this.#server.requestTimeout = 0;
    this.#server.on('connect', (request, socket, head) => this.#connect(request, socket, head));
    this.#server.on('connection', (socket) => this.#remember(socket));
  }

  /** Starts to listen and returns the port. */
  listen() {
    return new Promise((resolve, reject) => {
      this.#server.on('error', reject);
      this.#server.listen(0, '127.0.0.1', () => resolve(this.#server.address().port));
    });
  }

  async stop() {
    const closed = new Promise((resolve) => this.#server.close(resolve));
    for (const socket of this.#sockets) socket.destroy();
    await closed;
  }

  // Called for each TCP connection, and again for the TLS connection inside it.
  #remember(socket) {
    if (this.#facts.has(socket)) return;
    lastConnection += 1;
    this.#facts.set(socket, { connection: lastConnection, scheme: 'http', tcp: socket });
    this.#sockets.add(socket);
    socket.on('close', () => this.#sockets.delete(socket));
    socket.on('error', () => {}); // a client may disconnect at any time
  }

  async #connect(request, socket, head) {
    const host = hostOf(request.url);
    const facts = this.#facts.get(socket);
    const entry = this.#log(request, facts, host, '');
    const respond = (status, text, headers = '') => {
      entry.status = status;
      socket.write(`HTTP/1.1 ${status} ${text}\r\n${headers}\r\n`);
    };
    const refuse = (status, text, headers = '') => {
      respond(status, text, `${headers}Content-Length: 0\r\nConnection: close\r\n`);
      socket.end();
    };

    if (!this.#isAuthorized(request)) {
      refuse(407, 'Proxy Authentication Required', 'Proxy-Authenticate: Basic realm="sandbox"\r\n');
      return;
    }
    if (!this.#shared.routes.find(host)) {
      refuse(502, 'Unknown Host');
      return;
    }
    try {
      const secureContext = await this.#shared.authority.secureContext(host);
      respond(200, 'Connection Established');
      this.#startTls(socket, head, secureContext, {
        ...facts,
        scheme: 'https',
        credential: entry.credential,
      });
    } catch {
      refuse(502, 'No Certificate');
    }
  }

  #startTls(socket, head, secureContext, facts) {
    if (head.length > 0) socket.unshift(head);
    const secure = new TLSSocket(socket, {
      isServer: true,
      secureContext,
      ALPNProtocols: ['http/1.1'],
    });
    secure.on('error', () => socket.destroy()); // such as a client that rejects the certificate
    this.#facts.set(secure, facts);
    this.#server.emit('connection', secure);
  }

  async #serve(request, response) {
    const facts = this.#facts.get(request.socket);
    const { host, target: path } = destination(request, facts);
    const entry = this.#log(request, facts, host, path);
    response.on('error', () => {});
    response.on('close', () => {
      if (response.headersSent) entry.status = response.statusCode;
    });

    if (facts.scheme === 'http' && !this.#isAuthorized(request)) {
      const headers = { 'Proxy-Authenticate': 'Basic realm="sandbox"' };
      respondLocally(request, response, { status: 407, headers });
      return;
    }
    const target = this.#shared.routes.find(host);
    if (!target) {
      respondLocally(request, response, {
        status: 502,
        body: `no local server stands for ${host}\n`,
      });
      return;
    }
    const fault = this.#shared.faults.take({ host, method: request.method, target: path });
    entry.fault = fault?.kind ?? null;
    const reset = () => facts.tcp.resetAndDestroy();
    try {
      await exchange({ request, response, path, target, fault, reset });
    } catch {
      if (response.headersSent) reset();
      else
        respondLocally(request, response, {
          status: 502,
          body: 'the local server did not answer\n',
        });
    }
  }

  #isAuthorized(request) {
    if (!this.#credential) return true;
    const { user, password } = this.#credential;
    const expected = `Basic ${Buffer.from(`${user}:${password}`).toString('base64')}`;
    return request.headers['proxy-authorization'] === expected;
  }

  #log(request, facts, host, target) {
    const { connection, scheme } = facts;
    const credential = facts.credential ?? 'proxy-authorization' in request.headers;
    const { method } = request;
    return this.#shared.log.add({
      connection,
      proxy: this.#name,
      credential,
      scheme,
      method,
      host,
      target,
    });
  }
}

// The host and the target of a request: inside TLS the Host header names the host, in a plain
// request the absolute target does.
function destination(request, facts) {
  const absolute = /^http:\/\/([^/?]*)(.*)$/i.exec(request.url);
  if (facts.scheme === 'https' || !absolute) {
    return { host: hostOf(request.headers.host ?? ''), target: request.url };
  }
  const target = absolute[2].startsWith('/') ? absolute[2] : `/${absolute[2]}`;
  return { host: hostOf(absolute[1]), target };
}

function hostOf(authority) {
  return authority.replace(/:\d+$/, '').toLowerCase();
}
