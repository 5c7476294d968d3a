#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "CloudStorage/Client/RetryStrategy.h"

namespace TestSupport {

/// Notes what a strategy is asked, and passes it on. For one thread.
class NotingStrategy : public CloudStorage::Client::RetryStrategy {
 public:
  explicit NotingStrategy(std::shared_ptr<CloudStorage::Client::RetryStrategy> real)
      : real_(std::move(real)) {}

  bool shouldRetry(const CloudStorage::Client::Error& error,
                   unsigned long attemptedRetries) const override {
    asked.emplace_back(error.httpResponseCode, attemptedRetries);
    return real_->shouldRetry(error, attemptedRetries);
  }
  long getDelayBeforeNextRetry(const CloudStorage::Client::Error& error,
                               unsigned long attemptedRetries) const override {
    return real_->getDelayBeforeNextRetry(error, attemptedRetries);
  }

  /// HTTP status and number of retries of each question.
  mutable std::vector<std::pair<int, unsigned long>> asked;

 private:
  std::shared_ptr<CloudStorage::Client::RetryStrategy> real_;
};

}  // namespace TestSupport
