#pragma once

#include <memory>
#include <string>

#include "CloudStorage/Client/WSRequest.h"

namespace CloudStorage::Client {

/// A request whose body is a stream of the caller's.
class CLOUDSTORAGE_API StreamingWSRequest : public WSRequest {
 public:
  /// Sent as the content type unless the request-specific headers name one.
  std::string contentType;
  /// Shared with the caller, not copied; null for no body.
  std::shared_ptr<std::iostream> body;

  std::shared_ptr<std::iostream> getBody() const override { return body; }

  Http::HeaderValueCollection getHeaders() const override {
    auto headers = getRequestSpecificHeaders();
    headers.emplace(Http::CONTENT_TYPE_HEADER, contentType);  // one that is there already wins
    return headers;
  }
};

}  // namespace CloudStorage::Client
