// Forwards one request from the proxy to a local server and the response back, with a fault if one
// applies.

import http from 'node:http';
import { setTimeout as sleep } from 'node:timers/promises';
import { readBytes } from '../streams.mjs';

const kHopByHop = new Set([
  'connection',
  'expect',
  'keep-alive',
  'proxy-authorization',
  'proxy-connection',
  'te',
  'transfer-encoding',
  'upgrade',
]);
// Long enough for the kernel to deliver the first half of the body before the reset.
const kMillisecondsBeforeReset = 50;

/**
 * Serves `request`. `target` is the base URL of the local server; `reset` resets the client's
 * connection.
 */
export async function exchange({ request, response, path, target, fault, reset }) {
  switch (fault?.kind) {
    case 'hang':
      return;
    case 'reset':
      reset();
      return;
    case 'status':
      respondLocally(request, response, fault);
      return;
    case 'latency':
      await sleep(fault.milliseconds);
  }

  const upstream = await forward({ request, response, path, target });
  const disturb = { drip, resetBody, shortBody }[fault?.kind];
  if (disturb) {
    await disturb({ response, upstream, body: await readBytes(upstream), fault, reset });
    return;
  }
  response.writeHead(upstream.statusCode, upstream.statusMessage, endToEnd(upstream.rawHeaders));
  upstream.on('error', reset); // the server ended its response early, so the proxy does too
  upstream.pipe(response);
}

/** Sends a response that the proxy makes itself. */
export function respondLocally(request, response, { status, headers = {}, body = '' }) {
  request.resume();
  response.writeHead(status, { 'Content-Length': Buffer.byteLength(body), ...headers });
  response.end(request.method === 'HEAD' ? undefined : body);
}

// Headers keep their spelling and order, Host included: the client's signature covers them.
function forward({ request, response, path, target }) {
  return new Promise((resolve, reject) => {
    const { hostname, port } = new URL(target);
    const headers = endToEnd(request.rawHeaders);
    if (request.headers['transfer-encoding']) headers.push('Transfer-Encoding', 'chunked');
    const upstreamRequest = http.request({
      hostname,
      port,
      method: request.method,
      path,
      headers,
      setHost: false,
      agent: false,
    });
    upstreamRequest.on('response', resolve);
    upstreamRequest.on('error', reject);
    response.on('close', () => upstreamRequest.destroy());
    request.pipe(upstreamRequest);
  });
}

function endToEnd(rawHeaders) {
  return rawHeaders.filter(
    (_, index) => !kHopByHop.has(rawHeaders[index - (index % 2)].toLowerCase()),
  );
}


function writeHeadFor(response, upstream, body) {
  const headers = endToEnd(upstream.rawHeaders);
  // Without a declared length a client could not detect that a part is missing.
  if (!upstream.headers['content-length']) headers.push('Content-Length', `${body.length}`);
  response.writeHead(upstream.statusCode, upstream.statusMessage, headers);
}

async function writeHalf({ response, upstream, body }) {
  writeHeadFor(response, upstream, body);
  const half = body.subarray(0, Math.floor(body.length / 2));
  response.flushHeaders();
  if (half.length > 0) await new Promise((resolve) => response.write(half, resolve));
}

async function resetBody(parts) {
  await writeHalf(parts);
  await sleep(kMillisecondsBeforeReset);
  parts.reset();
}

async function shortBody(parts) {
  await writeHalf(parts);
  parts.response.socket?.end();
}

async function drip({ response, upstream, body, fault }) {
  writeHeadFor(response, upstream, body);
  const step = Math.max(1, fault.bytes);
  for (let at = 0; at < body.length && !response.destroyed; at += step) {
    response.write(body.subarray(at, at + step));
    await sleep(fault.milliseconds);
  }
  response.end();
}
