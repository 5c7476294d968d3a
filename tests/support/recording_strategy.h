#pragma once

#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "CloudStorage/Client/RetryStrategy.h"

namespace TestSupport {

/// Records the calls of another strategy. Safe for concurrent calls.
class RecordingStrategy : public CloudStorage::Client::RetryStrategy {
 public:
  explicit RecordingStrategy(std::shared_ptr<CloudStorage::Client::RetryStrategy> real)
      : real_(std::move(real)) {}

  bool shouldRetry(const CloudStorage::Client::Error& error,
                   unsigned long attemptedRetries) const override {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      calls_.emplace_back(error.httpResponseCode, attemptedRetries);
    }
    return real_->shouldRetry(error, attemptedRetries);
  }
  long getDelayBeforeNextRetry(const CloudStorage::Client::Error& error,
                               unsigned long attemptedRetries) const override {
    return real_->getDelayBeforeNextRetry(error, attemptedRetries);
  }

  /// HTTP status and number of retries in each call of shouldRetry.
  std::vector<std::pair<int, unsigned long>> calls() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return calls_;
  }

 private:
  const std::shared_ptr<CloudStorage::Client::RetryStrategy> real_;
  mutable std::mutex mutex_;
  mutable std::vector<std::pair<int, unsigned long>> calls_;
};

}  // namespace TestSupport
