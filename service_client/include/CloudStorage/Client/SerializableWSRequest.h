#pragma once

#include <memory>
#include <sstream>
#include <string>
#include <utility>

#include "CloudStorage/Client/WSRequest.h"

namespace CloudStorage::Client {

/// A request whose body is a text.
class CLOUDSTORAGE_API SerializableWSRequest : public WSRequest {
 public:
  /// Sent as the content type unless the request-specific headers contain one.
  std::string contentType;

  /// The payload; empty for a request without a body.
  virtual std::string serializePayload() const = 0;

  std::shared_ptr<std::iostream> getBody() const override {
    const std::string payload = serializePayload();
    if (payload.empty()) return nullptr;
    auto body = std::make_shared<std::stringstream>();
    *body << payload;
    return body;
  }

  Http::HeaderValueCollection getHeaders() const override {
    auto headers = getRequestSpecificHeaders();
    headers.emplace(Http::CONTENT_TYPE_HEADER, contentType);  // keeps an existing content type
    return headers;
  }

 protected:
  SerializableWSRequest() = default;
  explicit SerializableWSRequest(std::string type) : contentType(std::move(type)) {}
};

}  // namespace CloudStorage::Client
