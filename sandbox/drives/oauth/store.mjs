// The records of one authorization server: codes, tokens, grants and consent pages in progress.

export class Store {
  #records = new Map(); // model -> id -> record
  #refreshTokensWorkOnce;

  /** The ids of the grants for which a refresh token is issued too. */
  grantsWithRefreshToken = new Set();

  /** `refreshTokensWorkOnce` returns whether a refresh token is invalid once it is replaced. */
  constructor({ refreshTokensWorkOnce }) {
    this.#refreshTokensWorkOnce = refreshTokensWorkOnce;
  }

  /** The storage of one of oidc-provider's models, with the interface that it requires. */
  adapter(model) {
    const records = this.#of(model);
    return {
      find: async (id) => records.get(id),
      upsert: async (id, record) => void records.set(id, record),
      destroy: async (id) => void records.delete(id),
      consume: async (id) => {
        if (model === 'RefreshToken' && !this.#refreshTokensWorkOnce()) return;
        records.get(id).consumed = now();
      },
      findByUid: async (uid) => [...records.values()].find((record) => record.uid === uid),
      revokeByGrantId: async (grantId) => removeIf(records, (record) => record.grantId === grantId),
    };
  }

  accessToken(token) {
    return this.#of('AccessToken').get(token);
  }

  expireAccessTokens() {
    for (const record of this.#of('AccessToken').values()) record.exp = now() - 1;
  }

  removeRefreshTokens() {
    this.#of('RefreshToken').clear();
  }

  #of(model) {
    if (!this.#records.has(model)) this.#records.set(model, new Map());
    return this.#records.get(model);
  }
}

export function now() {
  return Math.floor(Date.now() / 1000);
}

function removeIf(records, condition) {
  for (const [id, record] of records) if (condition(record)) records.delete(id);
}
