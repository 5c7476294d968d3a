#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "CloudStorage/Auth/AuthorizationCredential.h"
#include "CloudStorage/Util/Status.h"

namespace CloudStorage::Auth {

/// The part of a service that a credential depends on: how tokens are refreshed and sent.
class CLOUDSTORAGE_API TokenRefresher {
 public:
  struct Tokens {
    std::string accessToken;
    std::string refreshToken;
    /// Seconds, or -1 if the service did not state it. Not known of tokens that the host has set.
    std::int64_t lifetime = -1;
  };

  virtual ~TokenRefresher() = default;

  /// Exchanges the refresh token in `tokens` for new tokens, which replace `tokens` on success
  /// only. The refresh token is kept if the response contains none. Sends at most one request to
  /// the token endpoint. The code of a failure is the HTTP status of the response, or -1 if there
  /// is none. Safe for concurrent calls.
  virtual Util::Status refresh(Tokens& tokens) = 0;

  /// Tells the host that a refresh has replaced `former` by `renewed`. Called on the thread of the
  /// refresh, without a lock. May block, and may use the credential.
  virtual void report(const Tokens& /*former*/, const Tokens& /*renewed*/) const {}

  /// The bearer token that requests send for `accessToken`.
  virtual std::string bearerOf(const std::string& accessToken) const { return accessToken; }
};

/// The tokens of one account. A client and its retry strategy share them, so that a refresh takes
/// effect for both. Safe for concurrent use.
class CLOUDSTORAGE_API OAuth2Credential : public AuthorizationCredential {
 public:
  using Clock = std::function<std::chrono::system_clock::time_point()>;

  OAuth2Credential();
  ~OAuth2Credential() override;
  OAuth2Credential(const OAuth2Credential&) = delete;
  OAuth2Credential& operator=(const OAuth2Credential&) = delete;

  /// True if there is neither an access token nor a refresh token.
  bool isEmpty() const override;

  /// Replaces the access token by means of the refresh token. If several threads find the same
  /// token expired, the first one sends a request and the others share its result: a thread whose
  /// last attempt (see accessTokenForAttempt) used an older token returns success at once, and a
  /// thread that waited for a refresh that failed returns that failure without a request of its
  /// own. After a refusal no request is sent for some seconds, unless tokens are set in the
  /// meantime. On failure the tokens do not change. Renewed tokens are reported to the host before
  /// the function returns, even if other tokens were set in the meantime. Blocks for one request,
  /// its own or another thread's, and for a report; a thread that only shares another one's result
  /// does not wait for its report. Does not wait for other threads beyond the time that is left to
  /// the call of this thread. Does not throw.
  virtual Util::Status refreshAccessToken();

  std::string accessToken() const;
  std::string refreshToken() const;
  void setAccessToken(std::string accessToken);
  void setRefreshToken(std::string refreshToken);
  /// Replaces both tokens in one step.
  void setTokens(std::string accessToken, std::string refreshToken);

  /// The bearer token for a request that the calling thread is about to send. The credential
  /// records the token's generation for the thread, so that a later refreshAccessToken() of that
  /// thread can determine which token failed.
  std::string accessTokenForAttempt();

  /// Called by the client that owns the credential. If `now` is null, the system clock is used.
  void setTokenRefresher(std::shared_ptr<TokenRefresher> refresher, Clock now = nullptr);

 private:
  class RefreshTurn;
  struct FailedRefresh;

  Util::Status refreshUnlessDone();
  std::optional<Util::Status> resultSinceAttempt() const;
  static Util::Status share(const FailedRefresh& failure);
  bool mayRefresh() const;
  bool wasJustRefused() const;
  void replace(std::string accessToken, std::string refreshToken);

  const std::uint64_t id_;  // unique in the process and never reused

  mutable std::mutex mutex_;  // guards the members below; never held while waiting
  std::string accessToken_;
  std::string refreshToken_;
  std::shared_ptr<TokenRefresher> refresher_;
  Clock now_;
  std::uint64_t generation_ = 0;  // incremented whenever the access token is replaced
  std::uint64_t failedRefreshes_ = 0;
  std::shared_ptr<const FailedRefresh> lastFailure_;                // null: none
  std::optional<std::chrono::system_clock::time_point> refusedAt_;  // for the current tokens

  // One refresh at a time, and none before the tokens of the former one have been reported. Only
  // the reporting thread itself may refresh again, in a call that the host makes meanwhile.
  bool isRefreshing_ = false;  // guarded by mutex_, as are the following
  unsigned reports_ = 0;       // more than one if they are nested
  std::thread::id reporter_;
  std::condition_variable turnChanged_;
};

}  // namespace CloudStorage::Auth
