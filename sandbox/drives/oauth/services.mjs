// The differences between the authorization servers of the four services: addresses, scopes, the
// format of tokens, the conditions for a refresh token, and the JSON of success and failure.

import { randomBytes, randomUUID } from 'node:crypto';
import { accountId } from '../dropbox.mjs';

const kLetters = 'ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789';

function random(length, alphabet = `${kLetters}-_`) {
  return Array.from(randomBytes(length), (byte) => alphabet[byte % alphabet.length]).join('');
}

function without({ ...members }, name) {
  delete members[name];
  return members;
}

const google = {
  title: 'Google',
  issuer: 'https://accounts.google.com',
  authorization: 'accounts.google.com/o/oauth2/auth',
  token: 'accounts.google.com/o/oauth2/token',
  aliases: ['oauth2.googleapis.com/token'],
  scopes: ['email', 'profile', 'https://www.googleapis.com/auth/drive'],
  lifetime: 3599,
  rotation: 'keep',
  tokens: {
    code: () => `4/0${random(70)}`,
    access: () => `ya29.${random(210)}`,
    refresh: () => `1//0${random(98)}`,
  },
  givesRefreshToken: (query) =>
    query.get('access_type') === 'offline' && query.get('prompt') === 'consent',
  refusesQuery: (query) =>
    query.has('prompt') && query.has('approval_prompt')
      ? 'Conflict params: approval_prompt and prompt'
      : undefined,
  success: (json, { refreshed, rotated }) =>
    refreshed && !rotated ? without(json, 'refresh_token') : json,
  failure({ error, about }) {
    if (error === 'invalid_client') return [401, { error, error_description: 'Unauthorized' }];
    if (about === 'redirect_uri')
      return [400, { error: 'redirect_uri_mismatch', error_description: 'Bad Request' }];
    const texts = {
      code: 'Malformed auth code.',
      'used code': 'Bad Request',
      'refresh token': 'Token has been expired or revoked.',
    };
    return [400, { error, error_description: texts[about] ?? 'Bad Request' }];
  },
};

const amazon = {
  title: 'Amazon',
  issuer: 'https://www.amazon.com',
  authorization: 'www.amazon.com/ap/oa',
  token: 'api.amazon.com/auth/o2/token',
  scopes: ['profile', 'clouddrive:read_all', 'clouddrive:write'],
  lifetime: 3600,
  rotation: 'keep',
  tokens: {
    code: () => random(20, kLetters),
    access: () => `Atza|${random(340)}`,
    refresh: () => `Atzr|${random(340)}`,
  },
  givesRefreshToken: () => true,
  success: (json) => ({ ...json, token_type: 'bearer' }),
  failure({ error, about, description }) {
    const texts = {
      code: 'The request has an invalid grant parameter : code',
      'used code': 'The request has an invalid grant parameter : code',
      redirect_uri: 'The request has an invalid grant parameter : redirect_uri',
      'refresh token':
        'The request has an invalid grant parameter : refresh_token. ' +
        "User may have revoked or didn't grant the permission.",
      client: 'Client authentication failed',
    };
    return [
      error === 'invalid_client' ? 401 : 400,
      {
        error_index: randomUUID(),
        error_description: texts[about] ?? description,
        error,
        request_id: randomUUID(),
      },
    ];
  },
};

const kMicrosoftFailures = {
  code: [9002313, 'Invalid request. Request is malformed or invalid.'],
  'used code': [54005, 'The authorization code was already redeemed.'],
  redirect_uri: [500112, 'The reply address does not match the one of the authorization request.'],
  'refresh token': [70008, 'The refresh token has expired or was revoked.'],
  client: [7000215, 'Invalid client secret provided.'],
  'unknown client': [700016, 'The application was not found in the directory.'],
  grant_type: [70003, 'The app requested an unsupported grant type.'],
};

const microsoft = {
  title: 'Microsoft',
  issuer: 'https://login.microsoftonline.com',
  authorization: 'login.microsoftonline.com/common/oauth2/v2.0/authorize',
  token: 'login.microsoftonline.com/common/oauth2/v2.0/token',
  logout: 'login.microsoftonline.com/common/oauth2/v2.0/logout',
  scopes: ['https://graph.microsoft.com/files.readwrite', 'user.read', 'offline_access'],
  lifetime: 3600,
  rotation: 'replace',
  tokens: {
    code: () => `M.C${random(45)}.${random(12)}!${random(20)}`,
    access: () => `EwB${random(1200, `${kLetters}+/`)}==`,
    refresh: () => `M.C${random(800, `${kLetters}*!$`)}`,
  },
  givesRefreshToken: (query) => (query.get('scope') ?? '').split(' ').includes('offline_access'),
  success: (json) => ({ ...json, ext_expires_in: json.expires_in }),
  failure({ error, about, description }) {
    const [number, text] = kMicrosoftFailures[about] ?? [900144, description];
    const traceId = randomUUID();
    const correlationId = randomUUID();
    const timestamp = new Date().toISOString().replace('T', ' ').replace(/\.\d+/, '');
    return [
      about === 'client' ? 401 : 400,
      {
        error: about === 'unknown client' ? 'unauthorized_client' : error,
        error_description:
          `AADSTS${number}: ${text}\r\nTrace ID: ${traceId}\r\n` +
          `Correlation ID: ${correlationId}\r\nTimestamp: ${timestamp}`,
        error_codes: [number],
        timestamp,
        trace_id: traceId,
        correlation_id: correlationId,
        error_uri: `https://login.microsoftonline.com/error?code=${number}`,
      },
    ];
  },
};

const dropbox = {
  title: 'Dropbox',
  issuer: 'https://www.dropbox.com',
  authorization: 'www.dropbox.com/oauth2/authorize',
  token: 'api.dropboxapi.com/oauth2/token',
  aliases: ['api.dropbox.com/oauth2/token', 'api.dropboxapi.com/1/oauth2/token'],
  scopes: [
    ...['account_info.read', 'files.content.read', 'files.content.write'],
    ...['files.metadata.read', 'files.metadata.write'],
  ],
  scopeMayBeMissing: true, // the default is all scopes of the application
  lifetime: 14400,
  rotation: 'keep',
  tokens: {
    code: () => random(43),
    access: () => `sl.B${random(1050)}`,
    refresh: () => random(64),
  },
  givesRefreshToken: (query) => query.get('token_access_type') === 'offline',
  success(json, { refreshed, rotated, account }) {
    const common = { ...json, token_type: 'bearer' };
    if (refreshed) return rotated ? common : without(common, 'refresh_token');
    return { ...common, account_id: accountId(account) };
  },
  failure({ error, about, description }) {
    const texts = {
      code: "code doesn't exist or has expired",
      'used code': 'code has already been used',
      redirect_uri: 'redirect_uri mismatch',
      'refresh token': 'refresh token is invalid or revoked',
      client: 'Invalid client_id or client_secret',
    };
    return [400, { error_description: texts[about] ?? description, error }];
  },
};

export const kServices = { google, amazon, microsoft, dropbox };

export function splitAddress(address) {
  const end = address.indexOf('/');
  return { host: address.slice(0, end), path: address.slice(end) };
}

/** The host names of a service's authorization server. */
export function hostsOf({ authorization, token, logout, aliases = [] }) {
  const addresses = [authorization, token, logout, ...aliases].filter(Boolean);
  return [...new Set(addresses.map((address) => splitAddress(address).host))];
}
