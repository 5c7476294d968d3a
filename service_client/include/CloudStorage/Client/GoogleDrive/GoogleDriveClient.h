#pragma once

#include <memory>

#include "CloudStorage/Client/OAuth2Client.h"

namespace CloudStorage::Client::GoogleDrive {

/// Google Drive, API v3. Hands out shared references to itself, so it must be owned by a shared
/// pointer from the start.
class CLOUDSTORAGE_API GoogleDriveClient : public OAuth2Client,
                                           public std::enable_shared_from_this<GoogleDriveClient> {
 public:
  GoogleDriveClient(Auth::OAuth2ClientSpec clientSpec,
                    std::shared_ptr<Auth::OAuth2Credential> credential,
                    std::shared_ptr<RetryStrategy> retryStrategy,
                    std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                    std::shared_ptr<Util::RateLimiter> readRateLimiter,
                    std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                    Config::ProxySetting proxy);
  GoogleDriveClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                    ClientEnvironment environment);
  ~GoogleDriveClient() override;
};

}  // namespace CloudStorage::Client::GoogleDrive
