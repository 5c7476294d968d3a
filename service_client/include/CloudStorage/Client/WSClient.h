#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <utility>

#include "CloudStorage/Auth/AuthorizationCredential.h"
#include "CloudStorage/Client/RetryStrategy.h"
#include "CloudStorage/Client/WSErrorMarshaller.h"
#include "CloudStorage/Config/ProxySetting.h"
#include "CloudStorage/Http/Transport.h"
#include "CloudStorage/Util/RateLimiter.h"
#include "CloudStorage/Util/Threading/Executor.h"

namespace CloudStorage::Client {

/// What a client is made of. All of it is shared by the client's calls and immutable or safe for
/// concurrent use.
struct ClientParts {
  std::shared_ptr<Auth::AuthorizationCredential> credential;
  std::shared_ptr<RetryStrategy> retryStrategy;
  std::shared_ptr<WSErrorMarshaller> errorMarshaller;
  /// Null: not limited.
  std::shared_ptr<Util::RateLimiter> readRateLimiter;
  std::shared_ptr<Util::RateLimiter> writeRateLimiter;
  /// Object-store clients only.
  std::shared_ptr<Util::Threading::Executor> executor;
  Config::ProxySetting proxy;
};

/// A client's ties to the outside world. What is left null is the real thing; tests put their own
/// in place.
struct ClientEnvironment {
  std::shared_ptr<Http::Transport> transport;
  std::function<std::chrono::system_clock::time_point()> now;
  std::function<void(std::chrono::milliseconds)> sleep;
};

/// Base of the six service clients. Operations are safe for concurrent calls, block until the
/// service has answered or the retries are used up, and do not throw.
class CLOUDSTORAGE_API WSClient {
 public:
  virtual ~WSClient() = default;
  WSClient(const WSClient&) = delete;
  WSClient& operator=(const WSClient&) = delete;

  const std::shared_ptr<Auth::AuthorizationCredential>& credential() const {
    return parts_.credential;
  }
  const ClientParts& parts() const { return parts_; }

 protected:
  explicit WSClient(ClientParts parts) : parts_(std::move(parts)) {}

 private:
  ClientParts parts_;
};

}  // namespace CloudStorage::Client
