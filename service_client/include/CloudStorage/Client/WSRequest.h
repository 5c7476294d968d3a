#pragma once

#include <istream>
#include <memory>

#include "CloudStorage/Export.h"
#include "CloudStorage/Http/Headers.h"
#include "CloudStorage/Http/URI.h"

namespace CloudStorage::Client {

/// What a call wants of a service, apart from where it goes and how it is authorized. Once built, a
/// request is only read.
class CLOUDSTORAGE_API WSRequest {
 public:
  virtual ~WSRequest() = default;

  /// The body, or null for a request without one.
  virtual std::shared_ptr<std::iostream> getBody() const = 0;
  virtual Http::HeaderValueCollection getHeaders() const = 0;
  virtual void addQueryStringParameters(Http::URI& /*uri*/) const {}
  /// Whether the request is signed or carries the access token.
  virtual bool doesRequireAuthorization() const { return true; }
  virtual bool shouldComputeContentMd5() const { return false; }
  /// Headers of this request alone; getHeaders() builds on them.
  virtual Http::HeaderValueCollection getRequestSpecificHeaders() const { return {}; }
};

}  // namespace CloudStorage::Client
