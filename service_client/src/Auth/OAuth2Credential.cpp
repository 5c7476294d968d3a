#include "CloudStorage/Auth/OAuth2Credential.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "Client/LastFailure.h"
#include "Client/RunningCall.h"
#include "Util/StatusBarrier.h"

namespace CloudStorage::Auth {
namespace {

constexpr int kNotRefreshed = -1;

// As hosts see it.
constexpr char kOperation[] = "refreshAccessToken";

// Longer than a call takes that is refused, fails to refresh its token and is retried three times;
// short enough that a user does not notice it after the cause has been removed.
constexpr std::chrono::seconds kRefusalMemory(5);

// Whether the service refused the refresh request itself (RFC 6749, section 5.2), as opposed to a
// failure of the service or the network.
bool isRefusal(const Util::Status& status) {
  constexpr int kBadRequest = 400;
  constexpr int kUnauthorized = 401;
  return status.getCode() == kBadRequest || status.getCode() == kUnauthorized;
}

// The state of the credential at a thread's last attempt. One record per thread is sufficient: a
// call ends before its thread begins another, except for those of the host's callbacks, and without
// a record the thread only sends one more refresh request.
struct AttemptRecord {
  std::uint64_t credential = 0;  // 0: none
  std::uint64_t generation = 0;
  std::uint64_t failedRefreshes = 0;
};
thread_local AttemptRecord lastAttempt;

// The tokens are renewed, whatever happens in the function of the host.
void reportTo(const TokenRefresher& refresher, const TokenRefresher::Tokens& former,
              const TokenRefresher::Tokens& renewed) {
  static_cast<void>(Util::guardedStatus([&] {
    refresher.report(former, renewed);
    return Util::Status();
  }));
}

std::uint64_t nextId() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

}  // namespace

/// A refresh that failed, for the threads that share its result.
struct OAuth2Credential::FailedRefresh {
  Util::Status status;
  /// What it means to the thread's call; nothing if it does not explain the refusal of the token.
  std::optional<Client::LastFailure::Record> record;
};

/// The right to refresh the tokens and to report them, which one thread has at a time.
class OAuth2Credential::RefreshTurn {
 public:
  /// Waits until the thread may refresh, or need not because there is a result of another thread's
  /// refresh, but not longer than the call of this thread may run.
  explicit RefreshTurn(OAuth2Credential& credential) : credential_(credential) {
    using Client::RunningCall;
    using Steady = std::chrono::steady_clock;
    const auto end = Steady::now() + RunningCall::timeLeft();
    // A host that cancels the call does not notify the condition variable.
    const Steady::duration longest =
        RunningCall::isCancellable() ? std::chrono::milliseconds(20) : RunningCall::timeLeft();
    std::unique_lock<std::mutex> lock(credential_.mutex_);
    while (!isDecided() && !RunningCall::endReason() && Steady::now() < end) {
      credential_.turnChanged_.wait_for(lock, std::min(longest, end - Steady::now()));
    }
    hasIt_ = !othersResult_ && credential_.mayRefresh();
    if (hasIt_) credential_.isRefreshing_ = true;
  }
  ~RefreshTurn() {
    if (!hasIt_) return;
    {
      const std::lock_guard<std::mutex> lock(credential_.mutex_);
      if (!isReporting_) credential_.isRefreshing_ = false;
      if (isReporting_) --credential_.reports_;
    }
    credential_.turnChanged_.notify_all();
  }
  RefreshTurn(const RefreshTurn&) = delete;
  RefreshTurn& operator=(const RefreshTurn&) = delete;

  bool hasIt() const { return hasIt_; }
  const std::optional<Util::Status>& othersResult() const { return othersResult_; }

  /// Ends the refresh and begins the report. The caller holds the mutex of the credential.
  void beginReport() {
    isReporting_ = true;
    credential_.isRefreshing_ = false;
    ++credential_.reports_;
    credential_.reporter_ = std::this_thread::get_id();
    credential_.turnChanged_.notify_all();  // for those who only share the result
  }

 private:
  bool isDecided() {
    othersResult_ = credential_.resultSinceAttempt();
    return othersResult_ || credential_.mayRefresh();
  }

  OAuth2Credential& credential_;
  bool hasIt_ = false;
  bool isReporting_ = false;
  std::optional<Util::Status> othersResult_;
};

OAuth2Credential::OAuth2Credential() : id_(nextId()) {}

OAuth2Credential::~OAuth2Credential() = default;

bool OAuth2Credential::isEmpty() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return accessToken_.empty() && refreshToken_.empty();
}

Util::Status OAuth2Credential::refreshAccessToken() {
  return Util::guardedStatus([this] {
    auto status = refreshUnlessDone();
    // Not earlier, because the host's callback may make calls that need the new token.
    Client::RunningCall::report(kOperation, 0);
    return status;
  });
}

Util::Status OAuth2Credential::refreshUnlessDone() {
  Client::LastFailure::ceaseToExplain();
  RefreshTurn turn(*this);
  if (turn.othersResult()) return *turn.othersResult();
  if (!turn.hasIt()) return {kNotRefreshed, "Another refresh has not ended in time."};

  std::unique_lock<std::mutex> lock(mutex_);
  if (!refresher_) return {kNotRefreshed, "The credential has no client that could refresh it."};
  if (wasJustRefused()) return share(*lastFailure_);
  const auto refresher = refresher_;
  const std::uint64_t generation = generation_;
  const TokenRefresher::Tokens former{accessToken_, refreshToken_};
  lock.unlock();

  TokenRefresher::Tokens tokens = former;
  auto status = Util::guardedStatus([&] { return refresher->refresh(tokens); });

  lock.lock();
  // Tokens that the host has set in the meantime are from a newer grant than this response.
  const bool isLatest = generation_ == generation && refreshToken_ == former.refreshToken;
  if (status.isSuccess()) {
    if (isLatest) replace(tokens.accessToken, tokens.refreshToken);
    turn.beginReport();
    lock.unlock();
    reportTo(*refresher, former, tokens);
    return status;
  }
  if (!isLatest) {
    Client::LastFailure::ceaseToExplain();
    return {};
  }
  // A refresh that the host has ended does not fail for threads whose calls continue.
  if (Client::RunningCall::endReason()) return status;
  auto failure = std::make_shared<FailedRefresh>(FailedRefresh{status, std::nullopt});
  if (Client::LastFailure::explainsRefusal()) failure->record = *Client::LastFailure::get();
  lastFailure_ = std::move(failure);
  ++failedRefreshes_;
  refusedAt_ = isRefusal(status) ? std::optional(now_()) : std::nullopt;
  return status;
}

std::string OAuth2Credential::accessToken() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return accessToken_;
}

std::string OAuth2Credential::refreshToken() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return refreshToken_;
}

void OAuth2Credential::setAccessToken(std::string accessToken) {
  const std::lock_guard<std::mutex> lock(mutex_);
  replace(std::move(accessToken), std::move(refreshToken_));
}

void OAuth2Credential::setRefreshToken(std::string refreshToken) {
  const std::lock_guard<std::mutex> lock(mutex_);
  refreshToken_ = std::move(refreshToken);
  refusedAt_.reset();
}

void OAuth2Credential::setTokens(std::string accessToken, std::string refreshToken) {
  const std::lock_guard<std::mutex> lock(mutex_);
  replace(std::move(accessToken), std::move(refreshToken));
}

std::string OAuth2Credential::accessTokenForAttempt() {
  const std::lock_guard<std::mutex> lock(mutex_);
  lastAttempt = {id_, generation_, failedRefreshes_};
  return refresher_ ? refresher_->bearerOf(accessToken_) : accessToken_;
}

void OAuth2Credential::setTokenRefresher(std::shared_ptr<TokenRefresher> refresher, Clock now) {
  const std::lock_guard<std::mutex> lock(mutex_);
  refresher_ = std::move(refresher);
  now_ = now ? std::move(now) : std::chrono::system_clock::now;
}

// The result of other threads' refreshes since the calling thread's attempt; nothing if there was
// no refresh or no attempt.
std::optional<Util::Status> OAuth2Credential::resultSinceAttempt() const {
  if (lastAttempt.credential != id_) return std::nullopt;
  if (lastAttempt.generation != generation_) return Util::Status();
  if (lastAttempt.failedRefreshes != failedRefreshes_) return share(*lastFailure_);
  return std::nullopt;
}

// The result of a refresh that another thread or an earlier call of this one tried.
Util::Status OAuth2Credential::share(const FailedRefresh& failure) {
  if (failure.record) Client::LastFailure::set(*failure.record);
  return failure.status;
}

// Whether the calling thread may begin a refresh now.
bool OAuth2Credential::mayRefresh() const {
  if (isRefreshing_) return false;
  return reports_ == 0 || reporter_ == std::this_thread::get_id();
}

bool OAuth2Credential::wasJustRefused() const {
  if (!refusedAt_) return false;
  const auto age = now_() - *refusedAt_;
  return age >= age.zero() && age < kRefusalMemory;  // the clock may have been set back
}

void OAuth2Credential::replace(std::string accessToken, std::string refreshToken) {
  accessToken_ = std::move(accessToken);
  refreshToken_ = std::move(refreshToken);
  refusedAt_.reset();
  ++generation_;
}

}  // namespace CloudStorage::Auth
