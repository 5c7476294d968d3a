// Serves the responses of a recording.

import http from 'node:http';
import { readText } from '../streams.mjs';
import { differences } from './matching.mjs';
import { describeRequest, readRecording } from './recording.mjs';

/** Starts a server for all hosts in the recording; returns { endpoint, hosts, stop }. */
export async function startPlayer(file) {
  const exchanges = (await readRecording(file)).map((exchange) => ({ ...exchange, played: false }));
  const server = http.createServer(async (request, response) => {
    try {
      const asked = await describe(request);
      const found = next(exchanges, asked);
      if (found) play(found, response);
      else refuse(asked, exchanges, response);
    } catch {
      response.destroy();
    }
  });
  server.keepAliveTimeout = 0;
  await new Promise((resolve, reject) => {
    server.on('error', reject);
    server.listen(0, '127.0.0.1', resolve);
  });
  return {
    endpoint: `http://127.0.0.1:${server.address().port}`,
    hosts: [...new Set(exchanges.map(({ request }) => request.host))],
    stop: () =>
      new Promise((resolve) => {
        server.close(resolve);
        server.closeAllConnections();
      }),
  };
}

async function describe(request) {
  return describeRequest({
    method: request.method,
    host: request.headers.host ?? '',
    target: request.url,
    type: request.headers['content-type'],
    body: await readText(request),
  });
}

// The first exchange with such a request that was not played yet, or else the last one.
function next(exchanges, asked) {
  const equal = exchanges.filter(({ request }) => differences(request, asked).length === 0);
  return equal.find(({ played }) => !played) ?? equal.at(-1);
}

function play(exchange, response) {
  exchange.played = true;
  const { status, headers, body } = exchange.response;
  if (status === 0) {
    // A response that ends in its headers: the proxy then breaks the client's connection, too.
    response.writeHead(200, { 'Content-Length': 1 });
    response.flushHeaders();
    setImmediate(() => response.destroy());
    return;
  }
  response.sendDate = false;
  response.writeHead(status, [...headers, 'Content-Length', `${body.length}`]);
  response.end(response.req.method === 'HEAD' ? undefined : body);
}

// Values are not shown: the client may log the text.
function refuse(asked, exchanges, response) {
  const lines = [`This was not recorded: ${titleOf(asked)}`];
  const byDistance = exchanges
    .map(({ request }, index) => ({ request, index, found: differences(request, asked) }))
    .sort((one, other) => distance(one, asked) - distance(other, asked));
  if (byDistance.length > 0) {
    const [{ request, index, found }] = byDistance;
    lines.push(`Nearest is entry ${index + 1}: ${titleOf(request)}`);
    lines.push(`It differs in ${found.join(', ')}.`);
  }
  response.writeHead(501, { 'Content-Type': 'text/plain; charset=utf-8' });
  response.end(`${lines.join('\n')}\n`);
}

// The host and the path say more about what was meant than anything else.
function distance({ request, found }, asked) {
  const kWeights = { 'the host': 100, 'the path': 20, 'the method': 10 };
  const weight = found.reduce((sum, what) => sum + (kWeights[what] ?? 1), 0);
  return weight - commonPrefix(request.path, asked.path) / 1000;
}

function commonPrefix(one, other) {
  let length = 0;
  while (length < one.length && one[length] === other[length]) length += 1;
  return length;
}

function titleOf({ method, host, path, query }) {
  const names = query.map(([name]) => name).join(', ');
  return `${method} ${host}${path}${names && ` with ${names}`}`;
}
