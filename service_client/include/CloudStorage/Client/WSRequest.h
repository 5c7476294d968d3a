#pragma once

#include <istream>
#include <memory>

#include "CloudStorage/Client/CallBudget.h"
#include "CloudStorage/Export.h"
#include "CloudStorage/Http/Headers.h"
#include "CloudStorage/Http/URI.h"

namespace CloudStorage::Client {

/// A service's request without its address and its authorization. Not modified once it is built.
class CLOUDSTORAGE_API WSRequest {
 public:
  virtual ~WSRequest() = default;

  /// The body; null for a request without one.
  virtual std::shared_ptr<std::iostream> getBody() const = 0;
  virtual Http::HeaderValueCollection getHeaders() const = 0;
  virtual void addQueryStringParameters(Http::URI& /*uri*/) const {}
  /// Whether the request is signed or carries the access token.
  virtual bool doesRequireAuthorization() const { return true; }
  virtual bool shouldComputeContentMd5() const { return false; }
  /// The headers that only this request has; getHeaders() includes them.
  virtual Http::HeaderValueCollection getRequestSpecificHeaders() const { return {}; }

  /// What the requests of one call of the host share. Null if the request is a call of its own.
  CallBudget* budget = nullptr;
};

}  // namespace CloudStorage::Client
