#pragma once

#include "CloudStorage/Http/Transport.h"

namespace CloudStorage::Client {

/// One of a client's operations.
struct Operation {
  /// The name of the client's function. Static.
  const char* name;
  Http::Method method;
};

}  // namespace CloudStorage::Client
