#pragma once

#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Export.h"
#include "CloudStorage/Http/Transport.h"

namespace CloudStorage::Client {

/// Names a failure: one implementation a service, which knows the form of that service's error
/// answers. Implementations have no state and do not throw.
class CLOUDSTORAGE_API WSErrorMarshaller {
 public:
  virtual ~WSErrorMarshaller() = default;

  /// The error that `response`, the failed answer to a request of `method`, stands for.
  virtual Error marshall(const Http::Response& response, Http::Method method) const = 0;
};

}  // namespace CloudStorage::Client
