#include "CloudStorage/Auth/OAuth2Credential.h"

#include <atomic>
#include <utility>

namespace CloudStorage::Auth {
namespace {

constexpr int kCannotAsk = -1;

// Longer than a call takes that is refused, refreshes in vain and is sent again three times; short
// enough for nobody to wait for it when the cause has been removed.
constexpr std::chrono::seconds kRefusalMemory(5);

// Refusals of the request itself (RFC 6749, section 5.2), unlike troubles of the service.
bool isRefusal(const Util::Status& status) {
  constexpr int kBadRequest = 400;
  constexpr int kUnauthorized = 401;
  return status.getCode() == kBadRequest || status.getCode() == kUnauthorized;
}

// What a thread's last attempt went out with. One note a thread is enough: a call is over before
// its thread begins another, and a thread that has lost its note merely asks the service once more.
struct AttemptNote {
  std::uint64_t credential = 0;  // 0: none
  std::uint64_t generation = 0;
  std::uint64_t failedRefreshes = 0;
};
thread_local AttemptNote lastAttempt;

std::uint64_t nextId() {
  static std::atomic<std::uint64_t> last{0};
  return ++last;
}

}  // namespace

OAuth2Credential::OAuth2Credential() : id_(nextId()) {}

OAuth2Credential::~OAuth2Credential() = default;

bool OAuth2Credential::isEmpty() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return accessToken_.empty() && refreshToken_.empty();
}

Util::Status OAuth2Credential::refreshAccessToken() {
  const std::lock_guard<std::mutex> oneAtATime(refreshMutex_);
  if (auto result = resultSinceAttempt()) return *std::move(result);

  std::unique_lock<std::mutex> lock(mutex_);
  if (!refresher_) return {kCannotAsk, "The credential has no client that could refresh it."};
  if (wasJustRefused()) return lastFailure_;
  const auto refresher = refresher_;
  const std::uint64_t generation = generation_;
  const std::string refreshToken = refreshToken_;
  TokenRefresher::Tokens tokens{accessToken_, refreshToken_};
  lock.unlock();

  auto status = refresher->refresh(tokens);

  lock.lock();
  // Tokens that the host has set meanwhile come from a newer grant than this answer.
  if (generation_ != generation || refreshToken_ != refreshToken) return {};
  if (status.isSuccess()) {
    replace(std::move(tokens.accessToken), std::move(tokens.refreshToken));
    return status;
  }
  ++failedRefreshes_;
  lastFailure_ = status;
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

// What other threads' refreshes have come to since the calling thread's attempt; nothing if there
// were none, or no attempt.
std::optional<Util::Status> OAuth2Credential::resultSinceAttempt() const {
  if (lastAttempt.credential != id_) return std::nullopt;
  const std::lock_guard<std::mutex> lock(mutex_);
  if (lastAttempt.generation != generation_) return Util::Status();
  if (lastAttempt.failedRefreshes != failedRefreshes_) return lastFailure_;
  return std::nullopt;
}

bool OAuth2Credential::wasJustRefused() const {
  if (!refusedAt_) return false;
  const auto age = now_() - *refusedAt_;
  return age >= age.zero() && age < kRefusalMemory;  // the clock may have been put back
}

void OAuth2Credential::replace(std::string accessToken, std::string refreshToken) {
  accessToken_ = std::move(accessToken);
  refreshToken_ = std::move(refreshToken);
  refusedAt_.reset();
  ++generation_;
}

}  // namespace CloudStorage::Auth
