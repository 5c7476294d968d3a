#pragma once

#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Export.h"

namespace CloudStorage::Client {

/// Decides whether a failed request is retried. The client calls it once for each failed attempt.
/// Implementations must be safe for concurrent calls.
class CLOUDSTORAGE_API RetryStrategy {
 public:
  virtual ~RetryStrategy() = default;

  /// `attemptedRetries` is the number of retries made so far: 0 after the first failure.
  virtual bool shouldRetry(const WSError<CoreErrors>& error,
                           unsigned long attemptedRetries) const = 0;

  /// How long to wait before the retry that shouldRetry() granted, in milliseconds.
  virtual long getDelayBeforeNextRetry(const WSError<CoreErrors>& error,
                                       unsigned long attemptedRetries) const = 0;
};

}  // namespace CloudStorage::Client
