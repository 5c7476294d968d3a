#pragma once

#include "listing.h"

namespace benchmarks {

struct MemoryUse {
  /// By how much the resident memory grew at its peak over what it was before the first call.
  long peakKibibytes = -1;
  /// By how much the heap grew from before the last call until after it, with the listing in hand.
  long heldKibibytes = -1;
  /// In a call.
  long receivedKibibytes = 0;
};

/// Goes a way several times in a process of its own, since a heap never forgets what it has been
/// used for; with a session open, but nothing asked for, that process is idle. Forks, so no other
/// thread may run yet. Throws std::runtime_error.
MemoryUse measureMemory(const Listing& listing, const ListingWay& way, const TlsIdentity& identity);

}  // namespace benchmarks
