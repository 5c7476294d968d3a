// The exchanges of a recording (HAR 1.2), in the form that requests are compared with.

import { readFile } from 'node:fs/promises';

// Set by the connection to the player, not by the recorded service.
const kHeadersOfConnections = new Set([
  'connection',
  'content-encoding',
  'content-length',
  'keep-alive',
  'transfer-encoding',
]);

/** The exchanges in `file`, in order: { request, response }. */
export async function readRecording(file) {
  let har;
  try {
    har = JSON.parse(await readFile(file, 'utf8'));
  } catch (error) {
    throw new Error(`cannot read the recording ${file}: ${error.message}`);
  }
  if (!Array.isArray(har?.log?.entries)) throw new Error(`${file} is not a recording (HAR)`);
  try {
    return har.log.entries.map(exchangeOf);
  } catch (error) {
    throw new Error(`${file} is not a valid recording (HAR): ${error.message}`);
  }
}

function exchangeOf({ request, response }) {
  const { method, url, postData } = request;
  const [, host, target] = /^https?:\/\/([^/?#]+)([^#]*)/i.exec(url);
  return {
    request: describeRequest({
      method,
      host,
      target,
      type: postData?.mimeType,
      body: postData?.text ?? '',
    }),
    response: { status: response.status, headers: headersOf(response), body: bodyOf(response) },
  };
}

/** A request as its parts: { method, host, path, query, form?, body }. */
export function describeRequest({ method, host, target, type = '', body }) {
  const [path, query = ''] = target.split(/\?(.*)/s);
  return {
    method,
    host: host.replace(/:\d+$/, '').toLowerCase(),
    path: path || '/',
    query: [...new URLSearchParams(query)],
    form: type.includes('x-www-form-urlencoded') ? [...new URLSearchParams(body)] : undefined,
    body,
  };
}

// node takes the bytes of a header as characters.
function headersOf(response) {
  return response.headers
    .filter(({ name }) => !kHeadersOfConnections.has(name.toLowerCase()))
    .flatMap(({ name, value }) => [name, Buffer.from(value).toString('latin1')]);
}

function bodyOf({ content }) {
  return Buffer.from(content?.text ?? '', content?.encoding === 'base64' ? 'base64' : 'utf8');
}
