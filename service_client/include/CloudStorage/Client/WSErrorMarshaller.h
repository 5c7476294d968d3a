#pragma once

#include "CloudStorage/Client/Service.h"
#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Export.h"
#include "CloudStorage/Http/Transport.h"

namespace CloudStorage::Client {

/// Translates a service's failures into errors. Each service has its own implementation, for the
/// form of its error responses. Implementations have no state and do not throw.
class CLOUDSTORAGE_API WSErrorMarshaller {
 public:
  virtual ~WSErrorMarshaller() = default;

  /// The service whose failures these are.
  virtual Service service() const = 0;

  /// The error for `response`, the failed response to a request with `method`. The caller redacts
  /// and truncates its texts.
  virtual Error marshall(const Http::Response& response, Http::Method method) const = 0;
};

}  // namespace CloudStorage::Client
