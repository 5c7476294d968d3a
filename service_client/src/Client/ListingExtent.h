#pragma once

#include <utility>

#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Util/Outcome.h"

namespace CloudStorage::Client {

/// Whether the last listing of each thread was cut short. A caller that reads all pages gets that
/// of the last page, which is never cut short.
class ListingExtent {
 public:
  static bool wasCutShort();

  /// Forgets the last listing of the thread.
  static void reset() { set(false); }

  /// `outcome`, which becomes the last listing of the thread.
  template <typename Result>
  static Util::Outcome<Result, Error> noted(Util::Outcome<Result, Error> outcome) {
    set(outcome.isSuccess() && outcome.getResult().isPartial());
    return outcome;
  }

 private:
  static void set(bool isCutShort);
};

}  // namespace CloudStorage::Client
