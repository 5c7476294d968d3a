// One request's way from the proxy to a local server and back, spoilt where a fault says so.

import http from 'node:http';
import { setTimeout as sleep } from 'node:timers/promises';

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
// Long enough for the kernel to deliver the first half before the reset overtakes it.
const kMillisecondsBeforeReset = 50;

/** Answers `request`. `reset` resets the client's connection; `target` is the local base URL. */
export async function exchange({ request, response, path, target, fault, reset }) {
  switch (fault?.kind) {
    case 'hang':
      return;
    case 'reset':
      reset();
      return;
    case 'status':
      answerLocally(request, response, fault);
      return;
    case 'latency':
      await sleep(fault.milliseconds);
  }

  const answer = await forward({ request, response, path, target });
  const spoil = { drip, resetBody, shortBody }[fault?.kind];
  if (spoil) {
    await spoil({ response, answer, body: await readAll(answer), fault, reset });
    return;
  }
  response.writeHead(answer.statusCode, answer.statusMessage, endToEnd(answer.rawHeaders));
  answer.on('error', reset); // the server broke off: so does its answer
  answer.pipe(response);
}

/** An answer of the proxy's own. */
export function answerLocally(request, response, { status, headers = {}, body = '' }) {
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
    const onward = http.request({
      hostname,
      port,
      method: request.method,
      path,
      headers,
      setHost: false,
      agent: false,
    });
    onward.on('response', resolve);
    onward.on('error', reject);
    response.on('close', () => onward.destroy());
    request.pipe(onward);
  });
}

function endToEnd(rawHeaders) {
  return rawHeaders.filter(
    (_, index) => !kHopByHop.has(rawHeaders[index - (index % 2)].toLowerCase()),
  );
}

async function readAll(answer) {
  const pieces = [];
  for await (const piece of answer) pieces.push(piece);
  return Buffer.concat(pieces);
}

function writeHeadFor(response, answer, body) {
  const headers = endToEnd(answer.rawHeaders);
  // Without a promised length a client could not tell that something is missing.
  if (!answer.headers['content-length']) headers.push('Content-Length', `${body.length}`);
  response.writeHead(answer.statusCode, answer.statusMessage, headers);
}

async function writeHalf({ response, answer, body }) {
  writeHeadFor(response, answer, body);
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

async function drip({ response, answer, body, fault }) {
  writeHeadFor(response, answer, body);
  const step = Math.max(1, fault.bytes);
  for (let at = 0; at < body.length && !response.destroyed; at += step) {
    response.write(body.subarray(at, at + step));
    await sleep(fault.milliseconds);
  }
  response.end();
}
