#pragma once

#include <string>
#include <utility>

#include "CloudStorage/Auth/AuthorizationCredential.h"

namespace CloudStorage::Auth {

/// An access key pair for AWS Signature Version 4, with the service and the region that it signs
/// for. Immutable.
class CLOUDSTORAGE_API AWSAuthCredential : public AuthorizationCredential {
 public:
  /// The region of the global endpoint.
  static const char DEFAULT_GLOBAL_REGION[];

  AWSAuthCredential(std::string accessKey, std::string secretKey, std::string serviceName,
                    std::string region)
      : accessKey_(std::move(accessKey)),
        secretKey_(std::move(secretKey)),
        serviceName_(std::move(serviceName)),
        region_(std::move(region)) {}

  ~AWSAuthCredential() override;

  bool isEmpty() const override { return accessKey_.empty() || secretKey_.empty(); }

  const std::string& accessKey() const { return accessKey_; }
  const std::string& secretKey() const { return secretKey_; }
  const std::string& serviceName() const { return serviceName_; }
  const std::string& region() const { return region_; }

 private:
  std::string accessKey_;
  std::string secretKey_;
  std::string serviceName_;
  std::string region_;
};

}  // namespace CloudStorage::Auth
