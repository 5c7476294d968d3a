// Control endpoints: plain HTTP and JSON, for tests in any language.

import http from 'node:http';

/**
 * Starts an endpoint on a loopback port, by default a free one; returns { url, stop }. `actions`
 * are "METHOD /path" -> function of the JSON that was sent; what it returns is the answer.
 */
export async function startControl(actions, port = 0) {
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
  await new Promise((resolve, reject) => {
    server.on('error', reject);
    server.listen(port, '127.0.0.1', resolve);
  });
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
