#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Auth/OAuth2Credential.h"
#include "libvemlo/retry_strategies.h"
#include "support/attempt_world.h"
#include "support/noting_strategy.h"

namespace TestSupport {

/// A scripted drive service for clients made as a session makes them.
template <typename Client, typename Strategy, typename Marshaller>
class DriveWorld : public AttemptWorld {
 public:
  DriveWorld() { credential->setTokens("token-1", "refresh-1"); }

  std::shared_ptr<Client> client() {
    CloudStorage::Auth::OAuth2ClientSpec spec;
    spec.clientId = "id";
    spec.clientSecret = "secret";
    spec.tokenEndpoint = "https://login.example.test/token";
    CloudStorage::Client::ClientParts parts;
    parts.credential = credential;
    parts.retryStrategy = strategy;
    parts.errorMarshaller = std::make_shared<Marshaller>();
    return std::make_shared<Client>(spec, parts, environment());
  }

  /// Method and address of each request so far, as in "GET https://example.test/".
  std::vector<std::string> lines() const {
    std::vector<std::string> texts;
    for (const auto& request : transport->requests()) {
      texts.push_back(CloudStorage::Http::methodName(request.method) +
                      (' ' + request.uri.toString()));
    }
    return texts;
  }

  std::vector<std::string> bodies() const {
    std::vector<std::string> texts;
    for (const auto& request : transport->requests()) texts.push_back(request.body);
    return texts;
  }

  const std::shared_ptr<CloudStorage::Auth::OAuth2Credential> credential =
      std::make_shared<CloudStorage::Auth::OAuth2Credential>();
  const std::shared_ptr<NotingStrategy> strategy =
      std::make_shared<NotingStrategy>(std::make_shared<Strategy>(credential));
};

}  // namespace TestSupport
