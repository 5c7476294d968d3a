#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Client/S3/S3Client.h"
#include "libvemlo/retry_strategies.h"
#include "support/attempt_fixture.h"
#include "support/recording_strategy.h"

namespace TestSupport {

/// A scripted store for S3 clients made as a session makes them.
class S3Fixture : public AttemptFixture {
 public:
  std::shared_ptr<CloudStorage::Client::S3::S3Client> makeClient(const std::string& endpoint,
                                                                 const std::string& region = {}) {
    CloudStorage::Client::ClientParts parts;
    parts.credential = std::make_shared<CloudStorage::Auth::AWSAuthCredential>(
        "AKIDVEMLOTEST0000001", "vemloTestSecretKey/0123456789+abcdefABCD", "s3", "us-east-1");
    parts.retryStrategy = strategy;
    parts.errorMarshaller = std::make_shared<CloudStorage::Client::S3::S3ErrorMarshaller>();
    return std::make_shared<CloudStorage::Client::S3::S3Client>(endpoint, region, parts,
                                                                environment());
  }

  /// The region in the signature of each request so far.
  std::vector<std::string> regions() const {
    std::vector<std::string> texts;
    for (const auto& request : requests()) texts.push_back(regionOf(request));
    return texts;
  }

  /// The time in the signature of each request so far.
  std::vector<std::string> times() const { return headers("x-amz-date"); }

  const std::shared_ptr<RecordingStrategy> strategy =
      std::make_shared<RecordingStrategy>(std::make_shared<S3RetryStrategy>(nullptr));

 private:
  // "... Credential=<key>/<day>/<region>/s3/aws4_request, ..."
  static std::string regionOf(const CloudStorage::Http::Request& request) {
    const std::string& header = request.headers.at("authorization");
    const auto day = header.find('/') + 1;
    const auto region = header.find('/', day) + 1;
    return header.substr(region, header.find('/', region) - region);
  }
};

/// The body of a failure.
inline std::string s3Error(const std::string& code, const std::string& more = {}) {
  return R"(<?xml version="1.0" encoding="UTF-8"?>)"
         "<Error><Code>" +
         code + "</Code><Message>about " + code + "</Message>" + more + "</Error>";
}

}  // namespace TestSupport
