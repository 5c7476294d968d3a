#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "libvemlo/retry_strategies.h"
#include "support/attempt_world.h"

namespace TestSupport {

/// A scripted Graph and token endpoint for clients made as a session makes them.
class OneDriveWorld : public AttemptWorld {
 public:
  using OneDriveClient = CloudStorage::Client::OneDrive::OneDriveClient;

  OneDriveWorld() { credential->setTokens("access-1", "refresh-1"); }

  std::shared_ptr<OneDriveClient> client() {
    CloudStorage::Auth::OAuth2ClientSpec spec;
    spec.tokenEndpoint = "https://login.example.test/token";
    CloudStorage::Client::ClientParts parts;
    parts.credential = credential;
    parts.retryStrategy = std::make_shared<OneDriveRetryStrategy>(credential);
    parts.errorMarshaller =
        std::make_shared<CloudStorage::Client::OneDrive::OneDriveErrorMarshaller>();
    return std::make_shared<OneDriveClient>(spec, parts, environment());
  }

  /// The addresses of all requests so far.
  std::vector<std::string> addresses() const {
    std::vector<std::string> texts;
    for (const auto& request : transport->requests()) texts.push_back(request.uri.toString());
    return texts;
  }

  const std::shared_ptr<CloudStorage::Auth::OAuth2Credential> credential =
      std::make_shared<CloudStorage::Auth::OAuth2Credential>();
};

inline std::string graphError(const std::string& code) {
  return R"({"error":{"code":")" + code + R"(","message":"about )" + code +
         R"(","innerError":{"code":"finer","request-id":"7"}}})";
}

}  // namespace TestSupport
