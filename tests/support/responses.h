#pragma once

#include <string>
#include <utility>

#include "CloudStorage/Http/Transport.h"

namespace TestSupport {

/// A response with a status, a body and headers (lower-case names).
inline CloudStorage::Http::Response response(
    int status, std::string body = {}, CloudStorage::Http::HeaderValueCollection headers = {}) {
  CloudStorage::Http::Response response;
  response.status = status;
  response.body = std::move(body);
  response.headers = std::move(headers);
  return response;
}

/// What a transport returns when no response arrives.
inline CloudStorage::Http::Response failedResponse(CloudStorage::Http::TransportFailure::Kind kind,
                                                   std::string name, std::string message,
                                                   bool requestMayHaveRun) {
  CloudStorage::Http::Response response;
  response.failure = {kind, std::move(name), std::move(message), requestMayHaveRun};
  return response;
}

}  // namespace TestSupport
