#pragma once

// Names that tests/behaviour still uses. To be removed with its last use.

#include <string>
#include <utility>

#include "support/responses.h"

namespace TestSupport {

inline CloudStorage::Http::Response answer(int status, std::string body = {},
                                           CloudStorage::Http::HeaderValueCollection headers = {}) {
  return response(status, std::move(body), std::move(headers));
}

inline CloudStorage::Http::Response noAnswer(CloudStorage::Http::TransportFailure::Kind kind,
                                             std::string name, std::string message,
                                             bool requestMayHaveRun) {
  return failedResponse(kind, std::move(name), std::move(message), requestMayHaveRun);
}

std::string httpResponse(const std::string& status, const std::string& body,
                         const std::string& headers);
inline std::string httpAnswer(const std::string& status, const std::string& body) {
  return httpResponse(status, body, {});
}

class AttemptFixture;
using AttemptWorld = AttemptFixture;

}  // namespace TestSupport
