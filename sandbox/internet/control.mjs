// The control endpoint: plain HTTP and JSON, for tests in any language.

import http from 'node:http';

/** Starts the endpoint on a free loopback port; returns { url, stop }. */
export async function startControl({ routes, faults, log }) {
  const actions = {
    'GET /faults': () => faults.list(),
    'POST /faults': (body) => faults.add(body),
    'DELETE /faults': () => faults.clear(),
    'GET /log': () => log.list(),
    'DELETE /log': () => log.clear(),
    'GET /routes': () => routes.list(),
    'POST /routes': (body) => routes.add(body),
    'DELETE /routes': () => routes.reset(),
  };
  const server = http.createServer(async (request, response) => {
    const action = actions[`${request.method} ${request.url}`];
    if (!action) {
      answer(response, 404, { error: `known are ${Object.keys(actions).join(', ')}` });
      return;
    }
    try {
      const body = request.method === 'POST' ? JSON.parse(await readText(request)) : undefined;
      const result = action(body);
      answer(response, result === undefined ? 204 : 200, result);
    } catch (error) {
      answer(response, 400, { error: error.message });
    }
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  return { url: `http://127.0.0.1:${server.address().port}`, stop: () => stop(server) };
}

function answer(response, status, value) {
  const body = value === undefined ? '' : `${JSON.stringify(value, null, 1)}\n`;
  response.writeHead(
    status,
    body && { 'Content-Type': 'application/json', 'Content-Length': Buffer.byteLength(body) },
  );
  response.end(body);
}

async function readText(request) {
  let text = '';
  for await (const piece of request.setEncoding('utf8')) text += piece;
  return text;
}

function stop(server) {
  return new Promise((resolve) => {
    server.close(resolve);
    server.closeAllConnections();
  });
}
