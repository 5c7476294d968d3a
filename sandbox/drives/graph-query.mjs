// The OData query options of requests for the children of a folder, an item and a drive.

import { Refusal } from './drive-emulator.mjs';

export const kItemProperties = new Set([
  ...['id', 'name', 'description', 'eTag', 'cTag', 'size', 'webUrl', 'webDavUrl'],
  ...['createdBy', 'createdByUser', 'createdDateTime', 'lastModifiedBy', 'lastModifiedByUser'],
  ...['lastModifiedDateTime', 'fileSystemInfo', 'parentReference', 'audio', 'bundle', 'content'],
  ...['deleted', 'file', 'folder', 'image', 'location', 'malware', 'package'],
  ...['pendingOperations', 'photo', 'publication', 'remoteItem', 'root', 'searchResult', 'shared'],
  ...['sharepointIds', 'specialFolder', 'video', 'analytics', 'children', 'listItem'],
  ...['permissions', 'retentionLabel', 'subscriptions', 'thumbnails', 'versions'],
]);

export const kDriveProperties = new Set([
  ...['id', 'name', 'description', 'eTag', 'webUrl', 'createdBy', 'createdDateTime', 'driveType'],
  ...['createdByUser', 'lastModifiedBy', 'lastModifiedByUser', 'lastModifiedDateTime', 'owner'],
  ...['parentReference', 'quota', 'sharePointIds', 'system', 'bundles', 'following', 'items'],
  ...['list', 'root', 'special'],
]);

export const kUserProperties = new Set([
  ...['id', 'businessPhones', 'displayName', 'givenName', 'jobTitle', 'mail', 'mobilePhone'],
  ...['officeLocation', 'preferredLanguage', 'surname', 'userPrincipalName'],
]);

const kFacets = ['folder', 'file', 'remoteItem', 'package', 'root', 'deleted', 'bundle'];
const kComparison = new RegExp(`^(${kFacets.join('|')}) (ne|eq) null$`);
const kLargestPage = 1000;
const kDefaultPage = 200;

export function refuse(status, code, message) {
  throw new Refusal({ status, code, message });
}

/** The options of `query` as a plain object; refuses those that are not in `known`. */
export function readOptions(query, known) {
  const options = {};
  for (const [name, value] of query) {
    if (!name.startsWith('$')) continue;
    if (!known.includes(name)) refuse(400, 'BadRequest', `Query option '${name}' is not allowed.`);
    if (name in options) refuse(400, 'BadRequest', `Query option '${name}' was given twice.`);
    options[name] = value;
  }
  return options;
}

export function readTop(text) {
  if (text === undefined) return kDefaultPage;
  const top = /^\d{1,9}$/.test(text) ? Number(text) : 0;
  if (top >= 1 && top <= kLargestPage) return top;
  return refuse(400, 'invalidRequest', `Invalid value for $top: it must be 1 to ${kLargestPage}.`);
}

/** A function that reduces an object to the properties in $select and its annotations. */
export function readSelect(text, properties) {
  if (text === undefined) return (json) => json;
  const names = new Set(text.split(',').map((name) => name.trim()));
  for (const name of names) {
    if (!properties.has(name)) {
      refuse(400, 'BadRequest', `Could not find a property named '${name}' in $select.`);
    }
  }
  return (json) =>
    Object.fromEntries(
      Object.entries(json).filter(([name]) => name.startsWith('@') || names.has(name)),
    );
}

/** A predicate for $filter: facets compared with null, joined with `and` and `or`. */
export function readFilter(text) {
  if (text === undefined) return () => true;
  const alternatives = text.split(' or ').map((part) => part.split(' and ').map(readComparison));
  return (json) => alternatives.some((tests) => tests.every((test) => test(json)));
}

function readComparison(text) {
  const [, facet, operator] = kComparison.exec(text) ?? [];
  if (!facet) refuse(400, 'notSupported', `The filter '${text}' is not supported.`);
  return (json) => (operator === 'ne') === facet in json;
}
