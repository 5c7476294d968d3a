// A minimal browser for the sandbox's web pages: it follows redirects and uses the proxy only.

import { readFileSync } from 'node:fs';
import http from 'node:http';
import https from 'node:https';
import tls from 'node:tls';
import { readText } from './streams.mjs';

const kMostRedirects = 10;

export class Browser {
  #proxy;
  #ca;

  constructor({ proxyHost, proxyPort, caFile }) {
    this.#proxy = { host: proxyHost, port: proxyPort };
    this.#ca = readFileSync(caFile);
  }

  /** Opens a web page or submits a form, following redirects; returns the page's { url, text }. */
  async open(url, form) {
    let response = await this.send(url, form && formRequest(form));
    for (let count = 0; response.location; count += 1) {
      if (count === kMostRedirects) throw new Error('redirects without end');
      response = await this.send(new URL(response.location, response.url));
    }
    const { status, text } = response;
    if (status !== 200) throw new Error(`HTTP ${status}: ${plainText(text)}`);
    return response;
  }

  /** Sends one request, by default a GET; returns { url, status, location, text }. */
  async send(address, request = {}) {
    const url = new URL(address);
    if (url.protocol !== 'https:') throw new Error('only https addresses can be opened');
    const socket = await this.#connect(url);
    try {
      const response = await exchange(socket, url, request);
      const text = await readText(response);
      const { location } = response.headers;
      return { url: url.href, status: response.statusCode, location, text };
    } finally {
      socket.destroy();
    }
  }

  async #connect({ hostname }) {
    const tunnel = await new Promise((resolve, reject) => {
      const request = http.request({ ...this.#proxy, method: 'CONNECT', path: `${hostname}:443` });
      request.on('error', reject);
      request.on('connect', ({ statusCode }, socket) => {
        if (statusCode === 200) resolve(socket);
        else reject(new Error(`the proxy answers ${statusCode} for ${hostname}`));
      });
      request.end();
    });
    return tls.connect({ socket: tunnel, servername: hostname, ca: this.#ca });
  }
}

/** The request for send() that submits a form. */
export function formRequest(form) {
  const headers = { 'Content-Type': 'application/x-www-form-urlencoded' };
  return { method: 'POST', headers, body: form.toString() };
}

function exchange(socket, url, { method, headers, body }) {
  return new Promise((resolve, reject) => {
    const request = https.request(url, { method, headers, createConnection: () => socket });
    request.on('error', reject);
    request.on('response', resolve);
    request.end(body);
  });
}

function plainText(html) {
  const body = html.replace(/<head>.*<\/head>|<[^>]*>/gs, ' ');
  return body.replace(/\s+/g, ' ').trim().slice(0, 300);
}
