// oidc-provider, set up and dressed up as the authorization server of one service.

import Provider from 'oidc-provider';
import { kClients, kRedirectUri } from '../clients.mjs';
import { failurePage } from './pages.mjs';
import { kServices, splitAddress } from './services.mjs';

const kSecondsOfCode = 600;
const kSecondsOfConsent = 3600;
const kSecondsOfGrant = 90 * 24 * 3600;
const kUnusedFeatures = [
  ...['devInteractions', 'pushedAuthorizationRequests', 'resourceIndicators'],
  ...['rpInitiatedLogout', 'userinfo'],
];
// Goes with the authorization request through the provider, which knows nothing of what makes each
// service give a refresh token.
export const kWantsRefreshToken = 'sandbox_wants_refresh_token';

/**
 * `conduct` holds the { lifetime, rotation, counters } that count at the time of a request, and
 * takes what is `issued`.
 */
export function makeProvider(name, { store, conduct }) {
  const service = kServices[name];
  const { issuer, tokens } = service;
  const provider = new Provider(issuer, configuration(service, kClients[name], store, conduct));
  provider.proxy = true;
  nameTokens(provider.AuthorizationCode, tokens.code, conduct);
  nameTokens(provider.AccessToken, tokens.access, conduct);
  nameTokens(provider.RefreshToken, tokens.refresh, conduct);
  provider.use((ctx, next) => dressUp(ctx, next, service, conduct));
  provider.on('server_error', (_, error) => process.stderr.write(`${error.stack}\n`));
  provider.on('grant.error', (ctx, error) => (ctx.state.failure = error));
  return provider;
}

function configuration(service, { clientId, clientSecret }, store, conduct) {
  const client = {
    client_id: clientId,
    client_secret: clientSecret,
    redirect_uris: [kRedirectUri],
    grant_types: ['authorization_code', 'refresh_token'],
    token_endpoint_auth_method: 'client_secret_post',
  };
  return {
    adapter: (model) => store.adapter(model),
    clients: [client],
    routes: {
      authorization: splitAddress(service.authorization).path,
      token: splitAddress(service.token).path,
    },
    scopes: service.scopes,
    extraParams: [kWantsRefreshToken],
    responseTypes: ['code'],
    pkce: { required: () => false },
    clockTolerance: 0,
    interactions: { url: (_, interaction) => `/consent/${interaction.uid}` },
    findAccount: (_, accountId) => ({ accountId, claims: () => ({ sub: accountId }) }),
    // Only what was granted in this authorization; nothing is remembered from earlier ones.
    loadExistingGrant: ({ oidc }) => {
      const grantId = oidc.result?.consent?.grantId;
      return grantId && oidc.provider.Grant.find(grantId);
    },
    expiresWithSession: () => false,
    issueRefreshToken: (_, __, { grantId }) => store.grantsWithRefreshToken.has(grantId),
    rotateRefreshToken: () => conduct.rotation !== 'keep',
    ttl: {
      AccessToken: () => conduct.lifetime,
      AuthorizationCode: kSecondsOfCode,
      Grant: kSecondsOfGrant,
      Interaction: kSecondsOfConsent,
      RefreshToken: kSecondsOfGrant,
      Session: kSecondsOfConsent,
    },
    features: Object.fromEntries(kUnusedFeatures.map((name) => [name, { enabled: false }])),
    renderError: (ctx, { error, error_description: description = '' }) => {
      ctx.type = 'html';
      ctx.body = failurePage({ error, description });
    },
  };
}

// The provider's own choice is made all the same, as it does more than choose.
function nameTokens(Model, choose, { issued }) {
  const { generateTokenId } = Model.prototype;
  Model.prototype.generateTokenId = function () {
    generateTokenId.call(this);
    const token = choose();
    issued.push(token);
    return token;
  };
}

async function dressUp(ctx, next, service, conduct) {
  const isTokenRequest = ctx.path === splitAddress(service.token).path;
  if (isTokenRequest) ctx.req.headers.accept = 'application/json';
  await next();
  ctx.remove('Set-Cookie');
  if (!isTokenRequest) return;
  const grantType = ctx.oidc?.params?.grant_type;
  if (grantType === 'authorization_code') conduct.counters.exchanges += 1;
  if (grantType === 'refresh_token') conduct.counters.refreshes += 1;
  if (ctx.status !== 200) {
    conduct.counters.refused += 1;
    dressUpFailure(ctx, service, grantType);
    return;
  }
  const { RotatedRefreshToken, Account } = ctx.oidc.entities;
  ctx.body = service.success(ctx.body, {
    refreshed: grantType === 'refresh_token',
    rotated: RotatedRefreshToken !== undefined,
    account: Account.accountId,
  });
}

function dressUpFailure(ctx, service, grantType) {
  if (ctx.status >= 500) return;
  const { error, error_description: description } = ctx.body;
  const about = subjectOf(error, ctx.state.failure?.error_detail, grantType);
  [ctx.status, ctx.body] = service.failure({ error, about, description });
}

/** What a failure is about; `detail` is the provider's word for it. */
function subjectOf(error, detail, grantType) {
  switch (error) {
    case 'invalid_client':
      return detail === 'client not found' ? 'unknown client' : 'client';
    case 'unsupported_grant_type':
      return 'grant_type';
    case 'invalid_grant':
      if (grantType === 'refresh_token') return 'refresh token';
      if (detail === 'authorization code redirect_uri mismatch') return 'redirect_uri';
      return detail === 'authorization code already consumed' ? 'used code' : 'code';
    default:
      return undefined;
  }
}
