#pragma once

#include <cstdint>

#include "CloudStorage/Export.h"

namespace CloudStorage::Util {

/// Limits how fast a client moves bytes. A client without one is not limited.
/// Implementations must be safe for concurrent calls.
class CLOUDSTORAGE_API RateLimiter {
 public:
  virtual ~RateLimiter() = default;

  /// Blocks until `bytes` more bytes may be moved.
  virtual void acquire(std::uint64_t bytes) = 0;
};

}  // namespace CloudStorage::Util
