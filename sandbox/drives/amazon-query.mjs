// The query language of Amazon Drive: filters, and the order of the nodes in a response.

import { nameKey } from './folder-tree.mjs';

// A field and a colon, then a quoted value, or one without spaces and special characters; a
// backslash escapes the next character.
const kTerm = /^(\w+):(?:"((?:[^"\\]|\\.)*)"|((?:[\w.~/@%=,;<>#$-]|[^\x00-\x7f]|\\.)+))$/s;
const kWord = /(?:[^\s"\\]|\\.|"(?:[^"\\]|\\.)*")+|\s+|./gs;

const kFields = {
  kind: (node) => [node.kind.toUpperCase()],
  status: (node) => [node.status ?? 'AVAILABLE'],
  isRoot: (node) => [`${!node.parent}`],
  isShared: () => ['false'],
  name: (node) => [node.parent ? node.key : ''],
  parents: (node) => (node.parent ? [node.parent.id] : []),
};
const kOrders = {
  kind: (node) => node.kind.toUpperCase(),
  name: (node) => (node.parent ? node.key : ''),
  createdDate: (node) => node.created,
  modifiedDate: (node) => node.modified,
  'contentProperties.size': (node) => node.size,
};

/**
 * The alternatives of a filter, each a list of { field, value } that all have to match; undefined
 * for a malformed filter.
 */
export function parseFilters(text) {
  if (text === '') return [[]];
  const words = (text.match(kWord) ?? []).filter((word) => word.trim() !== '');
  const alternatives = [[]];
  for (const [index, word] of words.entries()) {
    const isOperator = index % 2 === 1;
    if (isOperator && !['AND', 'OR'].includes(word)) return undefined;
    if (isOperator && word === 'OR') alternatives.push([]);
    if (isOperator) continue;
    const term = parseTerm(word);
    if (!term) return undefined;
    alternatives.at(-1).push(term);
  }
  return words.length % 2 === 1 ? alternatives : undefined;
}

function parseTerm(word) {
  const [, field, quoted, bare] = kTerm.exec(word) ?? [];
  if (!field || !Object.hasOwn(kFields, field)) return undefined;
  const value = (quoted ?? bare).replace(/\\(.)/gs, '$1');
  return { field, value: field === 'name' ? nameKey(value) : value };
}

/** A function that compares two nodes; undefined for a malformed order. */
export function parseSort(text) {
  if (text === '') return () => 0;
  const keys = (/^\[(.*)\]$/s.exec(text)?.[1] ?? '').split(',').map(parseSortKey);
  if (keys.includes(undefined)) return undefined;
  return (left, right) => {
    for (const { of, sign } of keys) {
      if (of(left) !== of(right)) return of(left) < of(right) ? -sign : sign;
    }
    return 0;
  };
}

// Bare, or as a JSON string; ascending by default.
function parseSortKey(text) {
  const [, quote, name, direction = 'ASC'] =
    /^\s*("?)([\w.]+)(?: (ASC|DESC))?\1\s*$/.exec(text) ?? [];
  if (quote === undefined || !Object.hasOwn(kOrders, name)) return undefined;
  return { of: kOrders[name], sign: direction === 'ASC' ? 1 : -1 };
}

/** The nodes of `tree` that match one of `alternatives`, in order. */
export function queryNodes(tree, alternatives, compare) {
  const found = new Set();
  for (const terms of alternatives) {
    const matches = (node) =>
      terms.every(({ field, value }) => kFields[field](node).includes(value));
    for (const node of candidates(tree, terms)) if (matches(node)) found.add(node);
  }
  return [...found].sort(compare);
}

// Most queries concern one folder, so that other nodes need not be examined.
function candidates(tree, terms) {
  if (terms.some(({ field, value }) => field === 'isRoot' && value === 'true')) return [tree.root];
  const inFolder = terms.find(({ field }) => field === 'parents');
  if (!inFolder) return tree.nodes;
  const folder = tree.get(inFolder.value);
  return folder ? tree.children(folder) : [];
}
