#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "Client/ErrorMarshalling.h"
#include "Client/ServiceCall.h"
#include "CloudStorage/Client/S3/S3Client.h"
#include "CloudStorage/Client/StreamingWSRequest.h"
#include "libvemlo/retry_strategies.h"
#include "support/attempt_fixture.h"
#include "support/recording_strategy.h"

namespace TestSupport {

/// Numbers the attempts, and records what it is asked.
class RecordingPolicy : public CloudStorage::Client::RequestPolicy {
 public:
  void authorize(CloudStorage::Http::Request& request) override {
    request.headers["authorization"] = "attempt " + std::to_string(++authorized);
    if (onAuthorize) onAuthorize();
  }
  bool recover(const CloudStorage::Http::Response& response, const CloudStorage::Client::Error&,
               CloudStorage::Http::Request& request) override {
    ++offered;
    return onRecover && onRecover(response, request);
  }
  bool redirect(const std::string& location, CloudStorage::Http::Request& request) override {
    locations.push_back(location);
    const auto target = CloudStorage::Http::URI::parse(location);
    if (!target) return false;
    request.uri = *target;
    return true;
  }

  int authorized = 0;
  int offered = 0;
  std::vector<std::string> locations;
  std::function<void()> onAuthorize;
  std::function<bool(const CloudStorage::Http::Response&, CloudStorage::Http::Request&)> onRecover;
};

/// A request that is whatever a test makes of it.
class Model : public CloudStorage::Client::StreamingWSRequest {
 public:
  CloudStorage::Http::HeaderValueCollection getRequestSpecificHeaders() const override {
    return headers;
  }
  void addQueryStringParameters(CloudStorage::Http::URI& uri) const override {
    if (!parameter.empty()) uri.addQueryStringParameter("parameter", parameter);
  }
  bool doesRequireAuthorization() const override { return authorized; }
  bool shouldComputeContentMd5() const override { return withMd5; }

  void setBody(const std::string& text) { body = std::make_shared<std::stringstream>(text); }

  CloudStorage::Http::HeaderValueCollection headers;
  std::string parameter;
  bool authorized = true;
  bool withMd5 = false;
};

using Lines = std::vector<std::string>;

/// A response is a text of lines; one that ends with "!" is refused.
inline CloudStorage::Util::Outcome<Lines, CloudStorage::Client::Error> parseLines(
    CloudStorage::Http::Response&& response) {
  std::istringstream text(response.body);
  Lines lines;
  for (std::string line; std::getline(text, line);) {
    if (line == "!") return CloudStorage::Client::malformedResponse("refused");
    if (line == "throw") throw std::runtime_error("the parser");
    lines.push_back(line);
  }
  return lines;
}

/// Sends `model` with the retry strategy of S3.
class ServiceCallFixture : public ::testing::Test, protected AttemptFixture {
 protected:
  CloudStorage::Util::Outcome<Lines, CloudStorage::Client::Error> send(
      CloudStorage::Http::Method method = CloudStorage::Http::Method::Get) {
    CloudStorage::Client::ClientParts parts;
    parts.retryStrategy = strategy;
    parts.errorMarshaller = marshaller;
    parts.readRateLimiter = readLimiter;
    parts.writeRateLimiter = writeLimiter;
    const CloudStorage::Client::ServiceCall call(parts, environment());
    return call.send(
        {"send", method},
        [] { return CloudStorage::Http::URI::parse("https://host/path").value(); }, model, policy,
        parseLines);
  }

  std::vector<std::string> headersSent(const std::string& name) const {
    std::vector<std::string> values;
    for (const auto& request : requests()) {
      const auto header = request.headers.find(name);
      values.push_back(header == request.headers.end() ? "(none)" : header->second);
    }
    return values;
  }

  std::shared_ptr<RecordingStrategy> strategy =
      std::make_shared<RecordingStrategy>(std::make_shared<S3RetryStrategy>(nullptr));
  std::shared_ptr<CloudStorage::Client::WSErrorMarshaller> marshaller =
      std::make_shared<CloudStorage::Client::S3::S3ErrorMarshaller>();
  std::shared_ptr<CloudStorage::Util::RateLimiter> readLimiter;
  std::shared_ptr<CloudStorage::Util::RateLimiter> writeLimiter;
  Model model;
  RecordingPolicy policy;
};

}  // namespace TestSupport
