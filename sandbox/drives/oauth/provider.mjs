// oidc-provider, configured and adapted as the authorization server of one service.

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
// A parameter added to the authorization request: each service has its own conditions for a refresh
// token, which the provider does not implement.
export const kWantsRefreshToken = 'sandbox_wants_refresh_token';

/**
 * `behaviour` holds the { lifetime, rotation, counters } at the time of a request, and the list of
 * what was `issued`.
 */
export function makeProvider(name, { store, behaviour }) {
  const service = kServices[name];
  const { issuer, tokens } = service;
  const provider = new Provider(issuer, configuration(service, kClients[name], store, behaviour));
  provider.proxy = true;
  setTokenFormat(provider.AuthorizationCode, tokens.code, behaviour);
  setTokenFormat(provider.AccessToken, tokens.access, behaviour);
  setTokenFormat(provider.RefreshToken, tokens.refresh, behaviour);
  provider.use((ctx, next) => adaptResponse(ctx, next, service, behaviour));
  provider.on('server_error', (_, error) => process.stderr.write(`${error.stack}\n`));
  provider.on('grant.error', (ctx, error) => (ctx.state.failure = error));
  return provider;
}

function configuration(service, { clientId, clientSecret }, store, behaviour) {
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
    // Only the grant of this authorization; earlier ones are not reused.
    loadExistingGrant: ({ oidc }) => {
      const grantId = oidc.result?.consent?.grantId;
      return grantId && oidc.provider.Grant.find(grantId);
    },
    expiresWithSession: () => false,
    issueRefreshToken: (_, __, { grantId }) => store.grantsWithRefreshToken.has(grantId),
    rotateRefreshToken: () => behaviour.rotation !== 'keep',
    ttl: {
      AccessToken: () => behaviour.lifetime,
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

// The provider's own function is still called, because it does more than generate the value.
function setTokenFormat(Model, generate, { issued }) {
  const { generateTokenId } = Model.prototype;
  Model.prototype.generateTokenId = function () {
    generateTokenId.call(this);
    const token = generate();
    issued.push(token);
    return token;
  };
}

async function adaptResponse(ctx, next, service, behaviour) {
  const isTokenRequest = ctx.path === splitAddress(service.token).path;
  if (isTokenRequest) ctx.req.headers.accept = 'application/json';
  await next();
  ctx.remove('Set-Cookie');
  if (!isTokenRequest) return;
  const grantType = ctx.oidc?.params?.grant_type;
  if (grantType === 'authorization_code') behaviour.counters.exchanges += 1;
  if (grantType === 'refresh_token') behaviour.counters.refreshes += 1;
  if (ctx.status !== 200) {
    behaviour.counters.refused += 1;
    adaptFailure(ctx, service, grantType);
    return;
  }
  const { RotatedRefreshToken, Account } = ctx.oidc.entities;
  ctx.body = service.success(ctx.body, {
    refreshed: grantType === 'refresh_token',
    rotated: RotatedRefreshToken !== undefined,
    account: Account.accountId,
  });
}

function adaptFailure(ctx, service, grantType) {
  if (ctx.status >= 500) return;
  const { error, error_description: description } = ctx.body;
  const about = subjectOf(error, ctx.state.failure?.error_detail, grantType);
  [ctx.status, ctx.body] = service.failure({ error, about, description });
}

/** What a failure is about; `detail` is the provider's description. */
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
