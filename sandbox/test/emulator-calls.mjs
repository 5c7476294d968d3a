// Requests to an emulator of a drive without a network.

/**
 * A function that makes requests of one account with `scopes`: (method, url, json?, headers?) ->
 * response.
 */
export function caller(emulator, account, scopes = []) {
  return (method, url, json, headers = { 'content-type': 'application/json' }) => {
    const [, host, path, rawQuery = ''] = /^https:\/\/([^/]+)([^?]*)(?:\?(.*))?$/s.exec(url);
    const text = typeof json === 'string' ? json : JSON.stringify(json);
    return emulator.handle({
      ...{ method, host, path, rawQuery, headers, account, scopes },
      query: new URLSearchParams(rawQuery),
      body: Buffer.from(text ?? ''),
    });
  };
}

/** A clock whose time only the test changes. */
export class Clock {
  time = Date.UTC(2024, 1, 29, 8, 30, 15);

  now = () => this.time;
}
