// The authorization server of one service: oidc-provider, adapted to the service's behaviour.
//
// It keeps no session and sends no cookie: the address alone identifies the consent page, so that a
// browser, curl and a few lines in any language can use it, and the user signs in for every
// authorization.

import { readText } from '../../streams.mjs';
import { kAccounts, kRedirectUri } from '../clients.mjs';
import { consentPage, failurePage, signedOutPage } from './pages.mjs';
import { kWantsRefreshToken, makeProvider } from './provider.mjs';
import { kServices, splitAddress } from './services.mjs';
import { now, Store } from './store.mjs';

export const kRotations = ['keep', 'replace', 'replaceOnce'];

export class AuthorizationServer {
  #service;
  #store = new Store({ refreshTokensWorkOnce: () => this.rotation === 'replaceOnce' });
  #provider;
  #callback;
  #authorization;

  /** Every code and token issued so far. */
  issued = [];
  /** The number of token requests by kind, and of those that were refused. */
  counters;
  /** For how many seconds access tokens issued from now on are valid. */
  lifetime;
  /**
   * The effect of a refresh on the refresh token: 'keep' it, 'replace' it while the old one stays
   * valid, or replace it so that each is valid once ('replaceOnce'; reuse ends the whole grant).
   */
  rotation;

  constructor(name) {
    this.#service = kServices[name];
    this.#authorization = splitAddress(this.#service.authorization);
    this.reset();
    this.#provider = makeProvider(name, { store: this.#store, behaviour: this });
    this.#callback = this.#provider.callback();
  }

  /** Restores the service's own lifetime and rotation, and sets the counters to 0. */
  reset() {
    this.counters = { exchanges: 0, refreshes: 0, refused: 0 };
    this.lifetime = this.#service.lifetime;
    this.rotation = this.#service.rotation;
  }

  /** The { account, scopes } of an access token, or the { reason } why it is not valid. */
  check(accessToken) {
    const record = this.#store.accessToken(accessToken);
    if (!record) return { reason: 'invalid' };
    if (record.exp <= now()) return { reason: 'expired' };
    return { account: record.accountId, scopes: record.scope.split(' ') };
  }

  expireAccessTokens() {
    this.#store.expireAccessTokens();
  }

  revokeRefreshTokens() {
    this.#store.removeRefreshTokens();
  }

  /** Responds to the request, or returns false if this server does not have the address. */
  async handle(request, response, { host, path, query }) {
    const { token, logout, aliases = [] } = this.#service;
    const address = `${host}${path}`;
    if (address === token || aliases.includes(address)) {
      this.#callProvider(request, response, splitAddress(token).path);
    } else if (address === logout) {
      this.#signOut(response, query);
    } else if (host === this.#authorization.host) {
      return this.#handlePage(request, response, { path, query });
    } else {
      return false;
    }
    return true;
  }

  async #handlePage(request, response, { path, query }) {
    const [, uid] = /\/([\w-]+)$/.exec(path) ?? [];
    if (path === this.#authorization.path) {
      this.#authorize(request, response, query);
    } else if (path === `/consent/${uid}`) {
      await this.#consent(request, response, uid);
    } else if (path === `${this.#authorization.path}/${uid}`) {
      request.headers.cookie = `_interaction_resume=${uid}`;
      this.#callProvider(request, response, path);
    } else {
      return false;
    }
    return true;
  }

  #authorize(request, response, query) {
    const failure = this.#findFailure(request, query);
    if (failure) {
      sendPage(response, 400, failurePage(failure));
      return;
    }
    const wants = this.#service.givesRefreshToken(query);
    query.set(kWantsRefreshToken, wants ? 'yes' : 'no');
    if (!query.get('scope')) query.set('scope', this.#service.scopes.join(' '));
    // The user is always asked for consent; without `prompt` the provider drops "offline_access".
    if (query.get('prompt') !== 'none') query.set('prompt', 'consent');
    this.#callProvider(request, response, `${this.#authorization.path}?${query}`);
  }

  #findFailure(request, query) {
    if (request.method !== 'GET') return { error: 'invalid_request', description: 'not a GET' };
    const { scopes, scopeMayBeMissing, refusesQuery } = this.#service;
    const description = refusesQuery?.(query);
    if (description) return { error: 'invalid_request', description };
    const requested = (query.get('scope') ?? '').split(' ').filter(Boolean);
    if (requested.length === 0 && !scopeMayBeMissing)
      return { error: 'invalid_request', description: 'Missing required parameter: scope' };
    const unknown = requested.filter((scope) => !scopes.includes(scope));
    if (unknown.length > 0)
      return { error: 'invalid_scope', description: `Unknown: ${unknown.join(' ')}` };
    return undefined;
  }

  async #consent(request, response, uid) {
    const interaction = await this.#provider.Interaction.find(uid);
    if (!interaction) {
      const description = 'This request was answered already, or its time is over.';
      sendPage(response, 404, failurePage({ error: 'invalid_request', description }));
      return;
    }
    const { client_id: clientId, scope } = interaction.params;
    if (request.method !== 'POST') {
      const facts = { service: this.#service.title, clientId, account: kAccounts.account };
      sendPage(response, 200, consentPage({ ...facts, scopes: scope.split(' ') }));
      return;
    }
    const form = new URLSearchParams(await readText(request));
    interaction.result =
      form.get('decision') === 'allow'
        ? await this.#grant(form.get('account') || kAccounts.account, interaction.params)
        : { error: 'access_denied', error_description: 'The user denied the request.' };
    await interaction.save(interaction.exp - now());
    response.writeHead(303, { Location: interaction.returnTo, 'Content-Length': 0 });
    response.end();
  }

  async #grant(accountId, { client_id: clientId, scope, [kWantsRefreshToken]: wants }) {
    const grant = new this.#provider.Grant({ accountId, clientId });
    grant.addOIDCScope(scope);
    const grantId = await grant.save();
    if (wants === 'yes') this.#store.grantsWithRefreshToken.add(grantId);
    return { login: { accountId, remember: false }, consent: { grantId } };
  }

  #signOut(response, query) {
    const target = query.get('post_logout_redirect_uri');
    if (target !== kRedirectUri) {
      sendPage(response, 200, signedOutPage());
      return;
    }
    response.writeHead(302, { Location: target, 'Content-Length': 0 });
    response.end();
  }

  #callProvider(request, response, url) {
    request.url = url;
    request.headers['x-forwarded-proto'] = 'https'; // the proxy terminated TLS
    this.#callback(request, response);
  }
}

export function sendPage(response, status, html) {
  response.writeHead(status, {
    'Content-Type': 'text/html; charset=utf-8',
    'Content-Length': Buffer.byteLength(html),
  });
  response.end(html);
}

