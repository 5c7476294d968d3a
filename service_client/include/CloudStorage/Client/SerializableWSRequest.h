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
  /// Sent as the content type unless the request-specific headers name one.
  std::string contentType;

  /// The payload; an empty text stands for no body at all.
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
    headers.emplace(Http::CONTENT_TYPE_HEADER, contentType);  // one that is there already wins
    return headers;
  }

 protected:
  SerializableWSRequest() = default;
  explicit SerializableWSRequest(std::string type) : contentType(std::move(type)) {}
};

}  // namespace CloudStorage::Client
