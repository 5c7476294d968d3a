// Control endpoints: plain HTTP and JSON, usable from tests in any language.

import http from 'node:http';
import { readText } from './streams.mjs';

/**
 * Starts an endpoint on a loopback port, by default a free one; returns { url, stop }. `actions`
 * maps "METHOD /path" to a function of the JSON request body; its return value is the response.
 */
export async function startControl(actions, port = 0) {
  const server = http.createServer(async (request, response) => {
    const action = actions[`${request.method} ${request.url}`];
    if (!action) {
      respond(response, 404, { error: `known are ${Object.keys(actions).join(', ')}` });
      return;
    }
    try {
      const body = request.method === 'POST' ? JSON.parse(await readText(request)) : undefined;
      const result = action(body);
      respond(response, result === undefined ? 204 : 200, result);
    } catch (error) {
      respond(response, 400, { error: error.message });
    }
  });
  await new Promise((resolve, reject) => {
    server.on('error', reject);
    server.listen(port, '127.0.0.1', resolve);
  });
  return { url: `http://127.0.0.1:${server.address().port}`, stop: () => stop(server) };
}

function respond(response, status, value) {
  const body = value === undefined ? '' : `${JSON.stringify(value, null, 1)}\n`;
  response.writeHead(
    status,
    body && { 'Content-Type': 'application/json', 'Content-Length': Buffer.byteLength(body) },
  );
  response.end(body);
}


function stop(server) {
  return new Promise((resolve) => {
    server.close(resolve);
    server.closeAllConnections();
  });
}
