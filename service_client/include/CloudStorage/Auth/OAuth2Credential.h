#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "CloudStorage/Auth/AuthorizationCredential.h"
#include "CloudStorage/Util/Status.h"

namespace CloudStorage::Auth {

/// Trades a refresh token for new tokens at a service's token endpoint.
class CLOUDSTORAGE_API TokenRefresher {
 public:
  struct Tokens {
    std::string accessToken;
    std::string refreshToken;  ///< empty: the old one stays valid
  };

  virtual ~TokenRefresher() = default;

  /// One request to the token endpoint; fills `tokens` on success only. Safe for concurrent calls.
  virtual Util::Status refresh(const std::string& refreshToken, Tokens& tokens) = 0;
};

/// The tokens of one account, shared by a client and its retry strategy so that both see a
/// refresh. Safe for concurrent use.
class CLOUDSTORAGE_API OAuth2Credential : public AuthorizationCredential {
 public:
  OAuth2Credential();
  ~OAuth2Credential() override;
  OAuth2Credential(const OAuth2Credential&) = delete;
  OAuth2Credential& operator=(const OAuth2Credential&) = delete;

  /// True while there is neither an access token nor a refresh token.
  bool isEmpty() const override;

  /// Replaces the access token by means of the refresh token. When several threads find the same
  /// token expired, the first one asks the service and the others take over what it got: a thread
  /// whose last attempt (see accessTokenForAttempt) used an older token returns success at once,
  /// and one that waited in vain for another's request returns that failure instead of asking
  /// again. On failure the tokens stay as they are. Blocks for one request, its own or another
  /// thread's.
  virtual Util::Status refreshAccessToken();

  std::string accessToken() const;
  std::string refreshToken() const;
  void setAccessToken(std::string accessToken);
  void setRefreshToken(std::string refreshToken);
  /// Replaces both in one step.
  void setTokens(std::string accessToken, std::string refreshToken);

  /// The access token for a request about to be sent by the calling thread, which is noted so
  /// that a later refreshAccessToken() of that thread knows which token failed.
  std::string accessTokenForAttempt();

  /// Set by the client that owns the credential.
  void setTokenRefresher(std::shared_ptr<TokenRefresher> refresher);

 private:
  std::optional<Util::Status> resultSinceAttempt() const;
  void replaceAccessToken(std::string accessToken);

  const std::uint64_t id_;  // no other credential of the process has had it, dead ones included

  mutable std::mutex mutex_;  // guards the members below; never held while waiting
  std::string accessToken_;
  std::string refreshToken_;
  std::shared_ptr<TokenRefresher> refresher_;
  std::uint64_t generation_ = 0;  // counts the access tokens
  std::uint64_t failedRefreshes_ = 0;
  Util::Status lastFailure_;

  std::mutex refreshMutex_;  // one refresh at a time
};

}  // namespace CloudStorage::Auth
