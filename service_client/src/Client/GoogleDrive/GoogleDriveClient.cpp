#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"

#include <utility>

namespace CloudStorage::Client::GoogleDrive {

GoogleDriveClient::GoogleDriveClient(Auth::OAuth2ClientSpec clientSpec,
                                     std::shared_ptr<Auth::OAuth2Credential> credential,
                                     std::shared_ptr<RetryStrategy> retryStrategy,
                                     std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                                     std::shared_ptr<Util::RateLimiter> readRateLimiter,
                                     std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                                     Config::ProxySetting proxy)
    : GoogleDriveClient(
          std::move(clientSpec),
          {std::move(credential), std::move(retryStrategy), std::move(errorMarshaller),
           std::move(readRateLimiter), std::move(writeRateLimiter), nullptr, std::move(proxy)},
          {}) {}

GoogleDriveClient::GoogleDriveClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                                     ClientEnvironment environment)
    : OAuth2Client(std::move(clientSpec), std::move(parts), std::move(environment)) {}

GoogleDriveClient::~GoogleDriveClient() = default;

}  // namespace CloudStorage::Client::GoogleDrive
