#pragma once

#include <memory>

#include "CloudStorage/Client/OAuth2Client.h"

namespace CloudStorage::Client::AmazonDrive {

/// Amazon Drive, API v1. Hands out shared references to itself, so it must be owned by a shared
/// pointer from the start.
class CLOUDSTORAGE_API AmazonDriveClient : public OAuth2Client,
                                           public std::enable_shared_from_this<AmazonDriveClient> {
 public:
  AmazonDriveClient(Auth::OAuth2ClientSpec clientSpec,
                    std::shared_ptr<Auth::OAuth2Credential> credential,
                    std::shared_ptr<RetryStrategy> retryStrategy,
                    std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                    std::shared_ptr<Util::RateLimiter> readRateLimiter,
                    std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                    Config::ProxySetting proxy);
  AmazonDriveClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                    ClientEnvironment environment);
  ~AmazonDriveClient() override;
};

}  // namespace CloudStorage::Client::AmazonDrive
