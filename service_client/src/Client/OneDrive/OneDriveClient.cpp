#include "CloudStorage/Client/OneDrive/OneDriveClient.h"

#include <utility>

namespace CloudStorage::Client::OneDrive {

OneDriveClient::OneDriveClient(Auth::OAuth2ClientSpec clientSpec,
                               std::shared_ptr<Auth::OAuth2Credential> credential,
                               std::shared_ptr<RetryStrategy> retryStrategy,
                               std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                               std::shared_ptr<Util::RateLimiter> readRateLimiter,
                               std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                               Config::ProxySetting proxy)
    : OneDriveClient(
          std::move(clientSpec),
          {std::move(credential), std::move(retryStrategy), std::move(errorMarshaller),
           std::move(readRateLimiter), std::move(writeRateLimiter), nullptr, std::move(proxy)},
          {}) {}

OneDriveClient::OneDriveClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                               ClientEnvironment environment)
    : OAuth2Client(std::move(clientSpec), std::move(parts), std::move(environment)) {}

OneDriveClient::~OneDriveClient() = default;

}  // namespace CloudStorage::Client::OneDrive
