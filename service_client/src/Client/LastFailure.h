#pragma once

#include "CloudStorage/Client/Service.h"
#include "CloudStorage/Client/WSError.h"

namespace CloudStorage::Client {

/// The last failure of each thread, for hosts that want to know more than a result code.
class LastFailure {
 public:
  struct Record {
    Service service{};
    /// Static.
    const char* operation = "";
    Error error;
  };

  /// Without memory, the record has no texts.
  static void set(Service service, const char* operation, const Error& error) noexcept;
  /// Null if there is none. Valid until the thread's next set() or reset().
  static const Record* get();
  static void reset();
};

}  // namespace CloudStorage::Client
