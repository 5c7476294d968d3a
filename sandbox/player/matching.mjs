// Whether a request is the one that was recorded. What was redacted matches anything, as do the
// parameters that differ each time.

import { isDeepStrictEqual } from 'node:util';

const kMask = /\[redacted\]|\[e-mail\]|%5Bredacted%5D|%5Be-mail%5D/;
const kVolatile = new Set([
  'code_challenge',
  'code_verifier',
  'nonce',
  'sig',
  'state',
  'x-amz-credential',
  'x-amz-date',
  'x-amz-security-token',
  'x-amz-signature',
]);

/** How `asked` differs from `recorded`: texts without secrets; none if the requests are equal. */
export function differences(recorded, asked) {
  return [
    ...(recorded.method === asked.method ? [] : ['the method']),
    ...(textMatches(recorded.host, asked.host) ? [] : ['the host']),
    ...(pathMatches(recorded.path, asked.path) ? [] : ['the path']),
    ...parameterDifferences(recorded.query, asked.query).map((name) => `the parameter ${name}`),
    ...bodyDifferences(recorded, asked),
  ];
}

function textMatches(recorded, actual) {
  const pieces = recorded.split(kMask);
  if (pieces.length === 1) return recorded === actual;
  // The pieces between the masks, in order: each as early as possible, the last one at the end.
  const [first, ...others] = pieces;
  const last = others.pop();
  if (!actual.startsWith(first)) return false;
  let position = first.length;
  for (const piece of others) {
    const found = actual.indexOf(piece, position);
    if (found < 0) return false;
    position = found + piece.length;
  }
  return actual.length >= position + last.length && actual.endsWith(last);
}

function pathMatches(recorded, actual) {
  const segments = (path) => path.split('/').map(decoded);
  const [theirs, ours] = [segments(recorded), segments(actual)];
  return theirs.length === ours.length && theirs.every((text, at) => textMatches(text, ours[at]));
}

function decoded(text) {
  try {
    return decodeURIComponent(text);
  } catch {
    return text;
  }
}

// The names of the parameters that differ. Their order does not matter.
function parameterDifferences(recorded, actual) {
  const isCompared = ([name]) => !kVolatile.has(name.toLowerCase());
  const rest = actual.filter(isCompared);
  const missing = recorded.filter(isCompared).filter(([name, value]) => {
    const at = rest.findIndex((other) => other[0] === name && textMatches(value, other[1]));
    if (at >= 0) rest.splice(at, 1);
    return at < 0;
  });
  return [...new Set([...missing, ...rest].map(([name]) => name))];
}

function bodyDifferences(recorded, asked) {
  if (textMatches(recorded.body, asked.body)) return [];
  if (recorded.form && asked.form) {
    return parameterDifferences(recorded.form, asked.form).map((name) => `the field ${name}`);
  }
  const [theirs, ours] = [jsonOf(recorded.body), jsonOf(asked.body)];
  if (theirs === undefined || ours === undefined) return ['the body'];
  return jsonMatches(theirs, ours) ? [] : ['the JSON of the body'];
}

function jsonOf(text) {
  try {
    return JSON.parse(text);
  } catch {
    return undefined;
  }
}

function jsonMatches(recorded, actual) {
  if (typeof recorded === 'string' && typeof actual === 'string') {
    return textMatches(recorded, actual);
  }
  const isObject = (value) => value !== null && typeof value === 'object';
  if (!isObject(recorded) || !isObject(actual)) return recorded === actual;
  const names = Object.keys(recorded);
  return (
    Array.isArray(recorded) === Array.isArray(actual) &&
    isDeepStrictEqual([...names].sort(), Object.keys(actual).sort()) &&
    names.every((name) => jsonMatches(recorded[name], actual[name]))
  );
}
