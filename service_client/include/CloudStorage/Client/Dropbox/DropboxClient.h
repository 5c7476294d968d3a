#pragma once

#include <memory>

#include "CloudStorage/Client/OAuth2Client.h"

namespace CloudStorage::Client::Dropbox {

/// Dropbox, API v2. Hands out shared references to itself, so it must be owned by a shared
/// pointer from the start.
class CLOUDSTORAGE_API DropboxClient : public OAuth2Client,
                                       public std::enable_shared_from_this<DropboxClient> {
 public:
  DropboxClient(Auth::OAuth2ClientSpec clientSpec,
                std::shared_ptr<Auth::OAuth2Credential> credential,
                std::shared_ptr<RetryStrategy> retryStrategy,
                std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                std::shared_ptr<Util::RateLimiter> readRateLimiter,
                std::shared_ptr<Util::RateLimiter> writeRateLimiter, Config::ProxySetting proxy);
  DropboxClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                ClientEnvironment environment);
  ~DropboxClient() override;
};

}  // namespace CloudStorage::Client::Dropbox
