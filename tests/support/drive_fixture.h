#pragma once

#include <memory>

#include "CloudStorage/Auth/OAuth2Credential.h"
#include "libvemlo/retry_strategies.h"
#include "support/attempt_fixture.h"
#include "support/recording_strategy.h"

namespace TestSupport {

/// A scripted drive service and token endpoint for clients made as a session makes them. `Drive`
/// describes the service: its client, retry strategy and error marshaller.
template <typename Drive>
class DriveFixture : public AttemptFixture {
 public:
  DriveFixture() { credential->setTokens("token-1", "refresh-1"); }

  std::shared_ptr<typename Drive::Client> makeClient() {
    return std::make_shared<typename Drive::Client>(makeSpec(), makeParts(), environment());
  }

  static CloudStorage::Auth::OAuth2ClientSpec makeSpec() {
    CloudStorage::Auth::OAuth2ClientSpec spec;
    spec.clientId = "id";
    spec.clientSecret = "client secret";
    spec.tokenEndpoint = "https://login.example.test/token";
    return spec;
  }

  CloudStorage::Client::ClientParts makeParts() const {
    CloudStorage::Client::ClientParts parts;
    parts.credential = credential;
    parts.retryStrategy = strategy;
    parts.errorMarshaller = std::make_shared<typename Drive::ErrorMarshaller>();
    return parts;
  }

  const std::shared_ptr<CloudStorage::Auth::OAuth2Credential> credential =
      std::make_shared<CloudStorage::Auth::OAuth2Credential>();
  const std::shared_ptr<RecordingStrategy> strategy = std::make_shared<RecordingStrategy>(
      std::make_shared<typename Drive::RetryStrategy>(credential));
};

}  // namespace TestSupport
