#pragma once

#include <memory>
#include <string>

#include "CloudStorage/Auth/AzureSSBAuthentication.h"
#include "CloudStorage/Client/WSClient.h"

namespace CloudStorage::Client::AzureSSB {

/// The clouds that run the Blob service; each has its own host suffix.
enum class Region { Global, China, Germany, USGovernment };

/// Azure storage blobs.
class CLOUDSTORAGE_API AzureSSBClient : public WSClient {
 public:
  /// Does not throw and does not connect: an unusable account name fails the first request.
  AzureSSBClient(std::string accountName,
                 std::shared_ptr<Auth::AzureSSBAuthentication> authentication,
                 std::shared_ptr<RetryStrategy> retryStrategy,
                 std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                 std::shared_ptr<Util::RateLimiter> readRateLimiter,
                 std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                 std::shared_ptr<Util::Threading::Executor> executor, Config::ProxySetting proxy,
                 Region region);
  ~AzureSSBClient() override;

  /// The cloud that a region's name belongs to. Case, blanks, hyphens and underscores do not
  /// count. Names of the sovereign clouds and of their regions give those; anything else, the empty
  /// name included, is the global cloud, whose region names do not appear in its hosts.
  static Region getRegionForName(const std::string& regionName);

  const std::string& accountName() const { return accountName_; }
  Region region() const { return region_; }

 private:
  std::string accountName_;
  Region region_;
};

}  // namespace CloudStorage::Client::AzureSSB
