// An HTTP forward proxy that is the whole internet to its clients: it ends their TLS itself and
// hands each request to the local server that stands for the host.

import http from 'node:http';
import { TLSSocket } from 'node:tls';
import { answerLocally, exchange } from './exchange.mjs';

let lastConnection = 0;

export class Proxy {
  #name;
  #credential;
  #world;
  #sockets = new Set();
  #facts = new WeakMap(); // socket -> what is known of the client's connection
  #server = http.createServer((request, response) => this.#serve(request, response));

  /**
   * `world` holds { routes, faults, log, authority }, which all proxies share. With `credential`
   * ({ user, password }) the proxy asks for it.
   */
  constructor(name, world, credential) {
    this.#name = name;
    this.#world = world;
    this.#credential = credential;
    this.#server.keepAliveTimeout = 0; // clients decide how long they keep a connection
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

  // Runs once per TCP connection, and once more for the TLS connection inside it.
  #remember(socket) {
    if (this.#facts.has(socket)) return;
    lastConnection += 1;
    this.#facts.set(socket, { connection: lastConnection, scheme: 'http', tcp: socket });
    this.#sockets.add(socket);
    socket.on('close', () => this.#sockets.delete(socket));
    socket.on('error', () => {}); // a client may leave at any time
  }

  async #connect(request, socket, head) {
    const host = hostOf(request.url);
    const facts = this.#facts.get(socket);
    const entry = this.#log(request, facts, host, '');
    const answer = (status, text, headers = '') => {
      entry.status = status;
      socket.write(`HTTP/1.1 ${status} ${text}\r\n${headers}\r\n`);
    };
    const refuse = (status, text, headers = '') => {
      answer(status, text, `${headers}Content-Length: 0\r\nConnection: close\r\n`);
      socket.end();
    };

    if (!this.#admits(request)) {
      refuse(407, 'Proxy Authentication Required', 'Proxy-Authenticate: Basic realm="sandbox"\r\n');
      return;
    }
    if (!this.#world.routes.find(host)) {
      refuse(502, 'Unknown Host');
      return;
    }
    try {
      const secureContext = await this.#world.authority.secureContext(host);
      answer(200, 'Connection Established');
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
    secure.on('error', () => socket.destroy()); // such as a client refusing the certificate
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

    if (facts.scheme === 'http' && !this.#admits(request)) {
      const headers = { 'Proxy-Authenticate': 'Basic realm="sandbox"' };
      answerLocally(request, response, { status: 407, headers });
      return;
    }
    const target = this.#world.routes.find(host);
    if (!target) {
      answerLocally(request, response, {
        status: 502,
        body: `no local server stands for ${host}\n`,
      });
      return;
    }
    const fault = this.#world.faults.take({ host, method: request.method, target: path });
    entry.fault = fault?.kind ?? null;
    const reset = () => facts.tcp.resetAndDestroy();
    try {
      await exchange({ request, response, path, target, fault, reset });
    } catch {
      if (response.headersSent) reset();
      else
        answerLocally(request, response, {
          status: 502,
          body: 'the local server did not answer\n',
        });
    }
  }

  #admits(request) {
    if (!this.#credential) return true;
    const { user, password } = this.#credential;
    const expected = `Basic ${Buffer.from(`${user}:${password}`).toString('base64')}`;
    return request.headers['proxy-authorization'] === expected;
  }

  #log(request, facts, host, target) {
    const { connection, scheme } = facts;
    const credential = facts.credential ?? 'proxy-authorization' in request.headers;
    const { method } = request;
    return this.#world.log.add({
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

// Inside TLS the Host header names the server; a plain request names it in its absolute target.
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
