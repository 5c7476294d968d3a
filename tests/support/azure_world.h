#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "libvemlo/retry_strategies.h"
#include "support/attempt_world.h"
#include "support/noting_strategy.h"

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
class AzureWorld : public AttemptWorld {
 public:
  using AzureSSBClient = CloudStorage::Client::AzureSSB::AzureSSBClient;
  using Region = CloudStorage::Client::AzureSSB::Region;

  std::shared_ptr<AzureSSBClient> client(const std::string& account = "vemloacct",
                                         Region region = Region::Global) {
    CloudStorage::Client::ClientParts parts;
    parts.credential = azureAuthentication(account);
    parts.retryStrategy = strategy;
    parts.errorMarshaller =
        std::make_shared<CloudStorage::Client::AzureSSB::AzureSSBErrorMarshaller>();
    return std::make_shared<AzureSSBClient>(account, parts, environment(), region);
  }

  /// The addresses of all requests so far.
  std::vector<std::string> addresses() const {
    std::vector<std::string> texts;
    for (const auto& request : transport->requests()) texts.push_back(request.uri.toString());
    return texts;
  }

  /// One header of each request so far.
  std::vector<std::string> headers(const std::string& name) const {
    std::vector<std::string> texts;
    for (const auto& request : transport->requests()) texts.push_back(request.headers.at(name));
    return texts;
  }

  const std::shared_ptr<NotingStrategy> strategy =
      std::make_shared<NotingStrategy>(std::make_shared<AzureSSBRetryStrategy>(nullptr));
};

inline std::string azureError(const std::string& code) {
  return "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?><Error><Code>" + code +
         "</Code><Message>about " + code +
         "\nRequestId:7\nTime:2024-02-29T08:30:15Z</Message></Error>";
}

}  // namespace TestSupport
