// The arguments of Dropbox's functions and their validation.

import { parseObject, Refusal } from './drive-emulator.mjs';

const kContentTypes = [
  'application/json',
  'application/json; charset=utf-8',
  'text/plain; charset=dropbox-cors-hack',
];
const kLargestLimit = 2000;

const kFolderPath = /^(?:(?:\/[^]*)?|id:.*|ns:[0-9]+(?:\/.*)?)$/;
const kNewPath = /^(?:\/[^]*|ns:[0-9]+(?:\/.*)?)$/;

const boolean = { expected: 'boolean', test: (value) => typeof value === 'boolean' };
const nothing = { expected: 'null', test: (value) => value === null };
const path = (pattern) => ({
  expected: `string matching ${pattern.source}`,
  test: (value) => typeof value === 'string' && pattern.test(value),
});
const required = (kind) => ({ ...kind, required: true });

const kMetadataFlags = {
  include_media_info: boolean,
  include_deleted: boolean,
  include_has_explicit_shared_members: boolean,
  // Neither property groups nor shared links exist here; clients may pass null for them.
  include_property_groups: nothing,
};

/** By function, the arguments by name; null for a function without arguments. */
export const kArguments = {
  'files/list_folder': {
    path: required(path(kFolderPath)),
    recursive: boolean,
    include_mounted_folders: boolean,
    include_non_downloadable_files: boolean,
    limit: {
      expected: `integer from 1 to ${kLargestLimit}`,
      test: (value) =>
        value === null || (Number.isInteger(value) && value >= 1 && value <= kLargestLimit),
    },
    shared_link: nothing,
    ...kMetadataFlags,
  },
  'files/list_folder/continue': {
    cursor: required({
      expected: 'non-empty string',
      test: (value) => typeof value === 'string' && value !== '',
    }),
  },
  'files/create_folder_v2': { path: required(path(kNewPath)), autorename: boolean },
  'files/get_metadata': { path: required(path(kFolderPath)), ...kMetadataFlags },
  'users/get_current_account': null,
  'users/get_space_usage': null,
};

/** Refuses a malformed call with an error text, as the service does. */
export function refuseCall(name, sentence) {
  const text = `Error in call to API function "${name}": ${sentence}`;
  throw new Refusal({ status: 400, text });
}

/** The arguments of a call to `name`; refuses those that do not match kArguments. */
export function readArguments(name, { headers, body }) {
  const known = kArguments[name];
  requireContentType(name, headers['content-type'], body);
  if (known === null) {
    if (!['', 'null'].includes(body.toString())) {
      refuseCall(name, 'request body: expected null');
    }
    return {};
  }
  const given = parseObject(body) ?? refuseCall(name, 'request body: expected a JSON object');
  for (const [field, value] of Object.entries(given)) {
    if (!Object.hasOwn(known, field)) refuseCall(name, `request body: unknown field '${field}'`);
    const { expected, test } = known[field];
    if (!test(value)) refuseCall(name, `request body: ${field}: expected ${expected}`);
  }
  for (const [field, { required: isRequired }] of Object.entries(known)) {
    if (isRequired && !(field in given)) {
      refuseCall(name, `request body: missing required field '${field}'`);
    }
  }
  return given;
}

// A function without arguments may be called without a body; then no content type is required.
function requireContentType(name, given = '', body) {
  if (body.length === 0 && kArguments[name] === null && given === '') return;
  const type = given.toLowerCase().replace(/\s*;\s*/, '; ');
  if (kContentTypes.includes(type)) return;
  const known = kContentTypes.map((known) => `"${known}"`).join(', ');
  refuseCall(name, `Bad HTTP "Content-Type" header: "${given}".  Expecting one of ${known}`);
}
