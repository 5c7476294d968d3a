// The public side of the drives: one plain HTTP server for all of their hosts. By its Host header
// and path, it passes a request to the redirect page, an authorization server or an emulator.
//
// An emulator is an object of a class with
//   static hosts           the public host names that it serves
//   handle(request)        { method, host, path, query (URLSearchParams), rawQuery, headers, body
//                          (Buffer), account, scopes } -> { status, headers?, json? | text? };
//                          may be asynchronous
//   unauthorized(failure)  the response to a request without a valid token: { reason, host, path },
//                          the reason being 'missing', 'invalid' or 'expired'
// It has a tree of folders for each account; `account` is a string.

import http from 'node:http';
import { gzipSync } from 'node:zlib';
import { readBytes } from '../streams.mjs';
import { kRedirectUri } from './clients.mjs';
import { sendPage } from './oauth/authorization-server.mjs';
import { redirectPage } from './oauth/pages.mjs';

const kSmallestCompressed = 1024;

/** `services` maps names to { server, emulator }; resolves once the server listens on `port`. */
export function startPublicServer({ port, services }) {
  const parts = Object.values(services);
  const server = http.createServer(async (request, response) => {
    try {
      await dispatch(parts, request, response);
    } catch (error) {
      process.stderr.write(`${error.stack}\n`);
      if (!response.headersSent) send(request, response, { status: 500, text: 'sandbox failure' });
    }
  });
  return new Promise((resolve, reject) => {
    server.on('error', reject);
    server.listen(port, '127.0.0.1', resolve);
  });
}

async function dispatch(parts, request, response) {
  const host = (request.headers.host ?? '').replace(/:\d+$/, '').toLowerCase();
  const [path, rawQuery = ''] = request.url.split(/\?(.*)/s);
  const query = new URLSearchParams(rawQuery);
  if (`https://${host}${path}` === kRedirectUri) {
    sendPage(response, 200, redirectPage(query));
    return;
  }
  for (const { server } of parts)
    if (await server.handle(request, response, { host, path, query })) return;

  const part = parts.find(({ emulator }) => emulator.constructor.hosts.includes(host));
  if (!part) {
    send(request, response, { status: 404, text: 'no such host or page in the sandbox' });
    return;
  }
  const { method, headers } = request;
  const call = { method, host, path, query, rawQuery, headers, body: await readBytes(request) };
  send(request, response, await callEmulator(part, call));
}

function callEmulator({ server, emulator }, call) {
  const { host, path, headers } = call;
  const [, token] = /^Bearer (.+)$/i.exec(headers.authorization ?? '') ?? [];
  const { reason, ...owner } = token ? server.check(token) : { reason: 'missing' };
  return reason
    ? emulator.unauthorized({ reason, host, path })
    : emulator.handle({ ...call, ...owner });
}

function send(request, response, { status, headers = {}, json, text }) {
  const type = json === undefined ? 'text/plain; charset=utf-8' : 'application/json';
  let body = Buffer.from(json === undefined ? (text ?? '') : JSON.stringify(json));
  response.statusCode = status;
  if (body.length > 0) response.setHeader('Content-Type', type);
  if (/\bgzip\b/.test(request.headers['accept-encoding']) && body.length >= kSmallestCompressed) {
    body = gzipSync(body, { level: 1 });
    response.setHeader('Content-Encoding', 'gzip');
  }
  for (const [name, value] of Object.entries(headers)) response.setHeader(name, value);
  if (status !== 204) response.setHeader('Content-Length', body.length);
  response.end(request.method === 'HEAD' ? undefined : body);
}

