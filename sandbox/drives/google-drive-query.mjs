// The search language and the order of Google Drive's file listings, limited to what folders need.
//
//   query    = ["not"] term { ("and" | "or") ["not"] term }       from left to right
//   term     = "(" query ")" | 'id' in parents | trashed (= | !=) (true | false)
//            | (name | mimeType) (= | != | contains) 'text'
//            | (createdTime | modifiedTime) (= | != | < | <= | > | >=) 'time'

import { Refusal } from './drive-emulator.mjs';

export const kFolderType = 'application/vnd.google-apps.folder';

const kToken = /\s*(?:'(?<text>(?:[^'\\]|\\['\\])*)'|(?<word>[A-Za-z]+)|(?<sign>[<>]=?|!?=|[()]))/y;

const kComparisons = {
  '=': (left, right) => left === right,
  '!=': (left, right) => left !== right,
  '<': (left, right) => left < right,
  '<=': (left, right) => left <= right,
  '>': (left, right) => left > right,
  '>=': (left, right) => left >= right,
};

const kTerms = {
  name: { read: readText, signs: ['=', '!='], value: ({ name }) => name, contains: hasWords },
  mimeType: {
    read: readText,
    signs: ['=', '!='],
    value: ({ mimeType }) => mimeType,
    contains: (type, start) => type.startsWith(start),
  },
  trashed: { read: readFlag, signs: ['=', '!='], value: (file) => file.isTrashed },
  createdTime: {
    read: readTime,
    signs: Object.keys(kComparisons),
    value: ({ created }) => created,
  },
  modifiedTime: {
    read: readTime,
    signs: Object.keys(kComparisons),
    value: ({ modified }) => modified,
  },
};

/**
 * Parses a query. `matches` returns whether a file matches; `parent`, if present, is the id of the
 * folder that contains every match.
 */
export function readQuery(text) {
  if (text.trim() === '') return { matches: () => true };
  const tokens = tokenize(text);
  const query = readQueryFrom(tokens);
  if (tokens.length > 0) refuseQuery();
  return query;
}

function tokenize(text) {
  const end = text.trimEnd().length;
  const tokens = [];
  kToken.lastIndex = 0;
  while (kToken.lastIndex < end) {
    const match = kToken.exec(text) ?? refuseQuery();
    tokens.push(match.groups);
  }
  return tokens;
}

function readQueryFrom(tokens) {
  let query = readOperand(tokens);
  while (['and', 'or'].includes(tokens[0]?.word)) {
    const left = query;
    const { word } = tokens.shift();
    const right = readOperand(tokens);
    query =
      word === 'and'
        ? {
            matches: (file) => left.matches(file) && right.matches(file),
            parent: left.parent ?? right.parent,
          }
        : { matches: (file) => left.matches(file) || right.matches(file) };
  }
  return query;
}

function readOperand(tokens) {
  if (tokens[0]?.word === 'not') {
    tokens.shift();
    const { matches } = readOperand(tokens);
    return { matches: (file) => !matches(file) };
  }
  if (tokens[0]?.sign === '(') {
    tokens.shift();
    const query = readQueryFrom(tokens);
    if (tokens.shift()?.sign !== ')') refuseQuery();
    return query;
  }
  return tokens[0]?.text === undefined ? readTerm(tokens) : readMembership(tokens);
}

function readMembership(tokens) {
  const parent = readText(tokens);
  if (tokens.shift()?.word !== 'in' || tokens.shift()?.word !== 'parents') refuseQuery();
  return { matches: (file) => file.isIn(parent), parent };
}

function readTerm(tokens) {
  const { word } = tokens.shift() ?? refuseQuery();
  if (!Object.hasOwn(kTerms, word ?? '')) refuseQuery();
  const { read, signs, value, contains } = kTerms[word];
  const operator = tokens.shift();
  if (contains && operator?.word === 'contains') {
    const expected = read(tokens);
    return { matches: (file) => contains(value(file), expected) };
  }
  if (!signs.includes(operator?.sign)) refuseQuery();
  const compare = kComparisons[operator.sign];
  const expected = read(tokens);
  return { matches: (file) => compare(value(file), expected) };
}

function readText(tokens) {
  const { text } = tokens.shift() ?? {};
  return text === undefined ? refuseQuery() : text.replace(/\\(.)/g, '$1');
}

function readFlag(tokens) {
  const { word } = tokens.shift() ?? {};
  return ['true', 'false'].includes(word) ? word === 'true' : refuseQuery();
}

function readTime(tokens) {
  const text = readText(tokens);
  const zoned = /(?:Z|[+-]\d\d:\d\d)$/.test(text) ? text : `${text}Z`;
  const time = /^\d{4}-\d\d-\d\dT/.test(text) ? Date.parse(zoned) : NaN;
  return Number.isNaN(time) ? refuseQuery() : time;
}

// Names are searched by words and prefixes of words.
function hasWords(name, wanted) {
  const words = (text) =>
    ` ${text
      .toLowerCase()
      .split(/[^\p{L}\p{N}]+/u)
      .join(' ')}`.trimEnd();
  return words(name).includes(words(wanted));
}

function refuseQuery() {
  throw invalidParameter('q');
}

/** The Refusal for an invalid parameter. */
export function invalidParameter(name, { reason = 'invalid', message = 'Invalid Value' } = {}) {
  const where = { locationType: 'parameter', location: name };
  return new Refusal({ status: 400, reason, message, ...where });
}

// Names are sorted by code points here; the service sorts them by the user's language.
const kKeys = {
  folder: (file) => (file.mimeType === kFolderType ? 0 : 1),
  name: ({ name }) => Buffer.from(name),
  name_natural: ({ name }) =>
    Buffer.from(name.replace(/\d+/g, (digits) => digits.padStart(20, '0'))),
  createdTime: ({ created }) => created,
  modifiedTime: ({ modified }) => modified,
  recency: ({ modified }) => modified,
};

/** The files sorted by `orderBy`, such as "folder,name desc". */
export function sorted(files, orderBy) {
  const rules = orderBy.split(',').map((rule) => {
    const [name, direction, ...rest] = rule.trim().split(/ +/);
    const isKnown = Object.hasOwn(kKeys, name) && [undefined, 'desc'].includes(direction);
    if (!isKnown || rest.length > 0) throw invalidParameter('orderBy');
    return { key: kKeys[name], sign: direction ? -1 : 1 };
  });
  return files
    .map((file) => ({ file, keys: rules.map(({ key }) => key(file)) }))
    .sort((left, right) => compareKeys(left.keys, right.keys, rules))
    .map(({ file }) => file);
}

function compareKeys(left, right, rules) {
  for (const [index, { sign }] of rules.entries()) {
    const [a, b] = [left[index], right[index]];
    const order = typeof a === 'number' ? a - b : Buffer.compare(a, b);
    if (order !== 0) return sign * order;
  }
  return 0;
}
