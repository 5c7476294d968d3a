#pragma once

#include "listing.h"

namespace benchmarks {

struct MemoryUse {
  /// The peak of the resident memory, above its size before the first call.
  long peakKibibytes = -1;
  /// The growth of the heap in the last call, whose listing is not released.
  long heldKibibytes = -1;
  /// Received bytes of one call.
  long receivedKibibytes = 0;
};

/// Requests a listing several times in a process of its own, because earlier use of a heap affects
/// the figures. That process is idle once its session is open and before its first request. Forks,
/// so no other thread may run yet. Throws std::runtime_error.
MemoryUse measureMemory(const Listing& listing, const ListingWay& way, const TlsIdentity& identity);

}  // namespace benchmarks
