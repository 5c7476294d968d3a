#pragma once

#include <memory>
#include <string>

#include "CloudStorage/Client/WSRequest.h"

namespace CloudStorage::Client {

/// A request whose body is a stream that the caller supplies.
class CLOUDSTORAGE_API StreamingWSRequest : public WSRequest {
 public:
  /// Sent as the content type unless the request-specific headers contain one.
  std::string contentType;
  /// Shared with the caller, not copied; null for no body.
  std::shared_ptr<std::iostream> body;

  std::shared_ptr<std::iostream> getBody() const override { return body; }

  Http::HeaderValueCollection getHeaders() const override {
    auto headers = getRequestSpecificHeaders();
    headers.emplace(Http::CONTENT_TYPE_HEADER, contentType);  // keeps an existing content type
    return headers;
  }
};

}  // namespace CloudStorage::Client
