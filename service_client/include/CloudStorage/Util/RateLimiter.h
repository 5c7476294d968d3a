#pragma once

#include <cstdint>

#include "CloudStorage/Export.h"

namespace CloudStorage::Util {

/// Limits a client's transfer rate. A client without a rate limiter is not limited. Implementations
/// must be safe for concurrent calls.
class CLOUDSTORAGE_API RateLimiter {
 public:
  virtual ~RateLimiter() = default;

  /// Blocks until `bytes` more bytes may be transferred.
  virtual void acquire(std::uint64_t bytes) = 0;
};

}  // namespace CloudStorage::Util
