// Partial responses of Google Drive: the parameter `fields`, such as "nextPageToken,files(id)".

import { invalidParameter } from './google-drive-query.mjs';

const kAnything = null;

// Every property of a file; those of the sandbox lack most of them.
const kFile = {
  ...names(
    `copyRequiresWriterPermission createdTime description driveId explicitlyTrashed fileExtension
    folderColorRgb fullFileExtension hasAugmentedPermissions hasThumbnail headRevisionId iconLink id
    inheritedPermissionsDisabled isAppAuthorized kind md5Checksum mimeType modifiedByMe
    modifiedByMeTime modifiedTime name originalFilename ownedByMe parents permissionIds
    quotaBytesUsed resourceKey sha1Checksum sha256Checksum shared sharedWithMeTime size spaces
    starred teamDriveId thumbnailLink thumbnailVersion trashed trashedTime version viewedByMe
    viewedByMeTime viewersCanCopyContent webContentLink webViewLink writersCanShare`,
    {},
  ),
  ...names(
    `appProperties capabilities contentHints contentRestrictions downloadRestrictions exportLinks
    imageMediaMetadata labelInfo lastModifyingUser linkShareMetadata owners permissions properties
    sharingUser shortcutDetails trashingUser videoMediaMetadata`,
    kAnything,
  ),
};

// The properties of each kind of response.
export const kShapes = {
  file: kFile,
  list: { ...names('kind nextPageToken incompleteSearch', {}), files: kFile },
  about: {
    ...names('kind', {}),
    ...names('storageQuota user importFormats exportFormats', kAnything),
  },
};

function names(list, inside) {
  return Object.fromEntries(list.split(/\s+/).map((name) => [name, inside]));
}

/** Parses `fields`; returns a function that reduces a response of this shape accordingly. */
export function readFields(text, shape) {
  const tokens = text.match(/[A-Za-z0-9_]+|[*,/()]|./gs) ?? [];
  const mask = readSelection(tokens, shape);
  if (tokens.length > 0) refuseFields(tokens[0]);
  return (json) => select(json, mask);
}

function readSelection(tokens, known) {
  const mask = {};
  do {
    const name = tokens.shift() ?? '';
    const isKnown = name === '*' || (known ? Object.hasOwn(known, name) : /^\w+$/.test(name));
    if (!isKnown) refuseFields(name);
    const inside = readInside(tokens, name === '*' ? known : known?.[name]);
    mask[name] = Object.hasOwn(mask, name) ? union(mask[name], inside) : inside;
  } while (tokens[0] === ',' && tokens.shift());
  return mask;
}

function readInside(tokens, known) {
  if (tokens[0] === '/') {
    tokens.shift();
    const name = tokens[0] ?? '';
    const end = readSelection(tokens.splice(0, 1), known);
    return { [name]: readInside(tokens, known?.[name]) ?? end[name] };
  }
  if (tokens[0] !== '(') return undefined;
  tokens.shift();
  const inside = readSelection(tokens, known);
  if (tokens.shift() !== ')') refuseFields('(');
  return inside;
}

// An undefined mask selects everything.
function union(left, right) {
  if (!left || !right) return undefined;
  const both = { ...left };
  for (const [name, inside] of Object.entries(right))
    both[name] = Object.hasOwn(both, name) ? union(both[name], inside) : inside;
  return both;
}

function select(value, mask) {
  if (mask === undefined || Object.hasOwn(mask, '*')) return value;
  if (Array.isArray(value)) return value.map((item) => select(item, mask));
  if (value === null || typeof value !== 'object') return value;
  const kept = Object.entries(value).filter(([name]) => Object.hasOwn(mask, name));
  return Object.fromEntries(kept.map(([name, inner]) => [name, select(inner, mask[name])]));
}

function refuseFields(name) {
  throw invalidParameter('fields', {
    reason: 'invalidParameter',
    message: `Invalid field selection ${name}`,
  });
}
