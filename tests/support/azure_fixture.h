#pragma once

#include <memory>
#include <string>

#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "libvemlo/retry_strategies.h"
#include "support/attempt_fixture.h"
#include "support/recording_strategy.h"

namespace TestSupport {

/// The base64 text of the 64 bytes 0 to 63.
inline constexpr char kAzureKey[] =
    "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1Njc4OTo7PD0+Pw==";

inline std::shared_ptr<CloudStorage::Auth::AzureSSBAuthentication> azureAuthentication(
    const std::string& account) {
  auto authentication =
      std::make_shared<CloudStorage::Auth::AzureSSBAuthentication>(account, kAzureKey);
  authentication->decodeAccessKey();
  return authentication;
}

/// A scripted Blob service for clients made as a session makes them.
class AzureFixture : public AttemptFixture {
 public:
  using AzureSSBClient = CloudStorage::Client::AzureSSB::AzureSSBClient;
  using Region = CloudStorage::Client::AzureSSB::Region;

  std::shared_ptr<AzureSSBClient> makeClient(const std::string& account = "vemloacct",
                                             Region region = Region::Global) {
    CloudStorage::Client::ClientParts parts;
    parts.credential = azureAuthentication(account);
    parts.retryStrategy = strategy;
    parts.errorMarshaller =
        std::make_shared<CloudStorage::Client::AzureSSB::AzureSSBErrorMarshaller>();
    return std::make_shared<AzureSSBClient>(account, parts, environment(), region);
  }

  const std::shared_ptr<RecordingStrategy> strategy =
      std::make_shared<RecordingStrategy>(std::make_shared<AzureSSBRetryStrategy>(nullptr));
};

/// The body of a failure.
inline std::string azureError(const std::string& code) {
  return "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?><Error><Code>" + code +
         "</Code><Message>about " + code +
         "\nRequestId:7\nTime:2024-02-29T08:30:15Z</Message></Error>";
}

}  // namespace TestSupport
