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

/// The parts of a client. The client's calls share them, so each part is immutable or safe for
/// concurrent use.
struct ClientParts {
  std::shared_ptr<Auth::AuthorizationCredential> credential;
  std::shared_ptr<RetryStrategy> retryStrategy;
  std::shared_ptr<WSErrorMarshaller> errorMarshaller;
  /// A rate limiter that is null imposes no limit.
  std::shared_ptr<Util::RateLimiter> readRateLimiter;
  std::shared_ptr<Util::RateLimiter> writeRateLimiter;
  /// Object-store clients only.
  std::shared_ptr<Util::Threading::Executor> executor;
  Config::ProxySetting proxy;

  /// The client's service; 0 if there is no marshaller, as in a test.
  Service service() const { return errorMarshaller ? errorMarshaller->service() : Service(); }
};

/// A client's dependencies on the network, the clocks and the scheduler. Members that are null are
/// replaced by the real ones; tests substitute their own.
struct ClientEnvironment {
  std::shared_ptr<Http::Transport> transport;
  std::function<std::chrono::system_clock::time_point()> now;
  std::function<void(std::chrono::milliseconds)> sleep;
  /// Measures how long a call has been running.
  std::function<std::chrono::steady_clock::time_point()> steadyNow;
};

/// Base of the six service clients. Operations are safe for concurrent calls, block until there is
/// a result or no retry is left, and do not throw.
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
