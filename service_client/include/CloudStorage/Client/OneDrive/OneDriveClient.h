#pragma once

#include <memory>

#include "CloudStorage/Client/OAuth2Client.h"

namespace CloudStorage::Client::OneDrive {

/// OneDrive through Microsoft Graph v1.0. Hands out shared references to itself, so it must be
/// owned by a shared pointer from the start.
class CLOUDSTORAGE_API OneDriveClient : public OAuth2Client,
                                        public std::enable_shared_from_this<OneDriveClient> {
 public:
  OneDriveClient(Auth::OAuth2ClientSpec clientSpec,
                 std::shared_ptr<Auth::OAuth2Credential> credential,
                 std::shared_ptr<RetryStrategy> retryStrategy,
                 std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                 std::shared_ptr<Util::RateLimiter> readRateLimiter,
                 std::shared_ptr<Util::RateLimiter> writeRateLimiter, Config::ProxySetting proxy);
  OneDriveClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                 ClientEnvironment environment);
  ~OneDriveClient() override;
};

}  // namespace CloudStorage::Client::OneDrive
