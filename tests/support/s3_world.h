#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Client/S3/S3Client.h"
#include "libvemlo/retry_strategies.h"
#include "support/attempt_world.h"
#include "support/noting_strategy.h"

namespace TestSupport {

/// A scripted store for S3 clients made as a session makes them.
class S3World : public AttemptWorld {
 public:
  std::shared_ptr<CloudStorage::Client::S3::S3Client> client(const std::string& endpoint,
                                                             const std::string& region = {}) {
    CloudStorage::Client::ClientParts parts;
    parts.credential = std::make_shared<CloudStorage::Auth::AWSAuthCredential>(
        "AKIDVEMLOTEST0000001", "vemloTestSecretKey/0123456789+abcdefABCD", "s3", "us-east-1");
    parts.retryStrategy = strategy;
    parts.errorMarshaller = std::make_shared<CloudStorage::Client::S3::S3ErrorMarshaller>();
    return std::make_shared<CloudStorage::Client::S3::S3Client>(endpoint, region, parts,
                                                                environment());
  }

  /// The addresses of all requests so far.
  std::vector<std::string> addresses() const {
    std::vector<std::string> texts;
    for (const auto& request : transport->requests()) texts.push_back(request.uri.toString());
    return texts;
  }

  /// The regions that they were signed for.
  std::vector<std::string> regions() const {
    std::vector<std::string> texts;
    for (const auto& request : transport->requests()) texts.push_back(regionOf(request));
    return texts;
  }

  /// When they were signed.
  std::vector<std::string> times() const {
    std::vector<std::string> texts;
    for (const auto& request : transport->requests()) {
      texts.push_back(request.headers.at("x-amz-date"));
    }
    return texts;
  }

  const std::shared_ptr<NotingStrategy> strategy =
      std::make_shared<NotingStrategy>(std::make_shared<S3RetryStrategy>(nullptr));

 private:
  // "... Credential=<key>/<day>/<region>/s3/aws4_request, ..."
  static std::string regionOf(const CloudStorage::Http::Request& request) {
    const std::string& header = request.headers.at("authorization");
    const auto day = header.find('/') + 1;
    const auto region = header.find('/', day) + 1;
    return header.substr(region, header.find('/', region) - region);
  }
};

inline std::string s3Error(const std::string& code, const std::string& more = {}) {
  return R"(<?xml version="1.0" encoding="UTF-8"?>)"
         "<Error><Code>" +
         code + "</Code><Message>about " + code + "</Message>" + more + "</Error>";
}

}  // namespace TestSupport
