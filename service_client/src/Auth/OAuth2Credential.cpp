#include "CloudStorage/Auth/OAuth2Credential.h"

#include <atomic>
#include <utility>

namespace CloudStorage::Auth {
namespace {

constexpr int kCannotAsk = -1;

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
  const auto refresher = refresher_;
  const std::string refreshToken = refreshToken_;
  const std::uint64_t generation = generation_;
  lock.unlock();
  if (!refresher) return {kCannotAsk, "The credential has no client that could refresh it."};
  if (refreshToken.empty()) return {kCannotAsk, "There is no refresh token."};

  TokenRefresher::Tokens tokens;
  auto status = refresher->refresh(refreshToken, tokens);

  lock.lock();
  // Tokens that the host has set meanwhile come from a newer grant than this answer.
  if (generation_ != generation || refreshToken_ != refreshToken) return {};
  if (!status.isSuccess()) {
    ++failedRefreshes_;
    lastFailure_ = status;
    return status;
  }
  replaceAccessToken(std::move(tokens.accessToken));
  if (!tokens.refreshToken.empty()) refreshToken_ = std::move(tokens.refreshToken);
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
  replaceAccessToken(std::move(accessToken));
}

void OAuth2Credential::setRefreshToken(std::string refreshToken) {
  const std::lock_guard<std::mutex> lock(mutex_);
  refreshToken_ = std::move(refreshToken);
}

void OAuth2Credential::setTokens(std::string accessToken, std::string refreshToken) {
  const std::lock_guard<std::mutex> lock(mutex_);
  replaceAccessToken(std::move(accessToken));
  refreshToken_ = std::move(refreshToken);
}

std::string OAuth2Credential::accessTokenForAttempt() {
  const std::lock_guard<std::mutex> lock(mutex_);
  lastAttempt = {id_, generation_, failedRefreshes_};
  return accessToken_;
}

void OAuth2Credential::setTokenRefresher(std::shared_ptr<TokenRefresher> refresher) {
  const std::lock_guard<std::mutex> lock(mutex_);
  refresher_ = std::move(refresher);
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

void OAuth2Credential::replaceAccessToken(std::string accessToken) {
  accessToken_ = std::move(accessToken);
  ++generation_;
}

}  // namespace CloudStorage::Auth
