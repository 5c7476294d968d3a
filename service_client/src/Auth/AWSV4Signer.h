#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include "CloudStorage/Auth/AWSAuthCredential.h"
#include "CloudStorage/Http/Transport.h"

namespace CloudStorage::Auth {

/// AWS Signature Version 4 in headers, in the variant for S3: the path is encoded once and not
/// normalised, and the payload's hash is a header of its own. Each stage is a function of its own,
/// so that tests can compare it with published vectors.
namespace AWSV4 {

/// `now` in the form `20240229T083015Z`.
std::string timestamp(std::chrono::system_clock::time_point now);

/// The request in canonical form. Covers the headers that are signed: `host`, `content-type`,
/// `content-md5` and all `x-amz-` headers. `signedHeaders` receives their names.
std::string canonicalRequest(const Http::Request& request, std::string_view payloadHash,
                             std::string& signedHeaders);

std::string credentialScope(std::string_view timestamp, std::string_view region,
                            std::string_view service);

std::string stringToSign(std::string_view timestamp, std::string_view scope,
                         std::string_view canonicalRequest);

struct SigningKey {
  std::string date;
  std::string region;
  std::string service;
  std::string signing;
};

/// The keys of all four steps of the derivation.
SigningKey deriveSigningKey(std::string_view secretKey, std::string_view date,
                            std::string_view region, std::string_view service);

}  // namespace AWSV4

/// Signs the requests of one client. Safe for concurrent calls.
class AWSV4Signer {
 public:
  explicit AWSV4Signer(std::shared_ptr<const AWSAuthCredential> credential)
      : credential_(std::move(credential)) {}

  /// Adds `host`, `x-amz-date`, `x-amz-content-sha256` and `authorization` to the headers of
  /// `request`, which must otherwise be complete.
  void sign(Http::Request& request, const std::string& region,
            std::chrono::system_clock::time_point now);

  /// The text that was signed for `request`, which sign() has signed for `region`.
  std::string stringToSign(const Http::Request& request, const std::string& region) const;

  /// The number of key derivations: one per day and region.
  unsigned keyDerivations() const;

 private:
  struct DatedKey {
    std::string date;
    std::string key;
  };

  std::string signingKey(const std::string& region, std::string_view date);

  std::shared_ptr<const AWSAuthCredential> credential_;
  mutable std::mutex mutex_;
  std::map<std::string, DatedKey> keys_;  // by region
  unsigned keyDerivations_ = 0;
};

}  // namespace CloudStorage::Auth
