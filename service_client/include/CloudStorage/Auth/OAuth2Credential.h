#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "CloudStorage/Auth/AuthorizationCredential.h"
#include "CloudStorage/Util/Status.h"

namespace CloudStorage::Auth {

/// What a credential has to know of the service that its tokens are from.
class CLOUDSTORAGE_API TokenRefresher {
 public:
  struct Tokens {
    std::string accessToken;
    std::string refreshToken;
  };

  virtual ~TokenRefresher() = default;

  /// Trades the refresh token in `tokens` for new tokens, which replace them on success only; a
  /// refresh token stays if no other came. At most one request to the token endpoint, the HTTP
  /// status of whose answer is the code of a failure. Safe for concurrent calls.
  virtual Util::Status refresh(Tokens& tokens) = 0;

  /// What requests carry of `accessToken`.
  virtual std::string bearerOf(const std::string& accessToken) const { return accessToken; }
};

/// The tokens of one account, shared by a client and its retry strategy so that both see a
/// refresh. Safe for concurrent use.
class CLOUDSTORAGE_API OAuth2Credential : public AuthorizationCredential {
 public:
  using Clock = std::function<std::chrono::system_clock::time_point()>;

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
  /// again. What the service has refused it is not asked again for some seconds, unless tokens are
  /// set meanwhile. On failure the tokens stay as they are. Blocks for one request, its own or
  /// another thread's.
  virtual Util::Status refreshAccessToken();

  std::string accessToken() const;
  std::string refreshToken() const;
  void setAccessToken(std::string accessToken);
  void setRefreshToken(std::string refreshToken);
  /// Replaces both in one step.
  void setTokens(std::string accessToken, std::string refreshToken);

  /// What of the access token goes into a request about to be sent by the calling thread, which is
  /// noted so that a later refreshAccessToken() of that thread knows which token failed.
  std::string accessTokenForAttempt();

  /// Set by the client that owns the credential. `now` may be null: the system's clock.
  void setTokenRefresher(std::shared_ptr<TokenRefresher> refresher, Clock now = nullptr);

 private:
  std::optional<Util::Status> resultSinceAttempt() const;
  bool wasJustRefused() const;
  void replace(std::string accessToken, std::string refreshToken);

  const std::uint64_t id_;  // no other credential of the process has had it, dead ones included

  mutable std::mutex mutex_;  // guards the members below; never held while waiting
  std::string accessToken_;
  std::string refreshToken_;
  std::shared_ptr<TokenRefresher> refresher_;
  Clock now_;
  std::uint64_t generation_ = 0;  // counts the access tokens
  std::uint64_t failedRefreshes_ = 0;
  Util::Status lastFailure_;
  std::optional<std::chrono::system_clock::time_point> refusedAt_;  // these very tokens

  std::mutex refreshMutex_;  // one refresh at a time
};

}  // namespace CloudStorage::Auth
