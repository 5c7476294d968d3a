#pragma once

#include <memory>
#include <string>

#include "CloudStorage/Auth/AzureSSBAuthentication.h"
#include "CloudStorage/Client/AzureSSB/Model.h"
#include "CloudStorage/Client/WSClient.h"
#include "CloudStorage/Util/Outcome.h"

namespace CloudStorage::Client::AzureSSB {

/// The clouds that run the Blob service; each has its own host suffix.
enum class Region { Global, China, Germany, USGovernment };

/// Azure Blob Storage.
class CLOUDSTORAGE_API AzureSSBClient : public WSClient {
 public:
  /// The value of `x-ms-blob-type` for blobs that are written as a whole.
  static constexpr char BLOB_TYPE_BLOCK_BLOB[] = "BlockBlob";

  /// Does not throw and does not connect: an unusable account name fails the first request.
  AzureSSBClient(std::string accountName,
                 std::shared_ptr<Auth::AzureSSBAuthentication> authentication,
                 std::shared_ptr<RetryStrategy> retryStrategy,
                 std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                 std::shared_ptr<Util::RateLimiter> readRateLimiter,
                 std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                 std::shared_ptr<Util::Threading::Executor> executor, Config::ProxySetting proxy,
                 Region region);
  AzureSSBClient(std::string accountName, ClientParts parts, ClientEnvironment environment,
                 Region region);
  ~AzureSSBClient() override;

  /// The cloud that a region belongs to, by the region's name. Case, spaces, hyphens and
  /// underscores are ignored. The names of the sovereign clouds and of their regions select those
  /// clouds. Any other name, including the empty one, selects the global cloud, whose host names
  /// contain no region.
  static Region getRegionForName(const std::string& regionName);

  virtual Util::Outcome<Model::ListContainerResult, Error> listContainer(
      const Model::ListContainerRequest& request) const;
  virtual Util::Outcome<Model::CreateContainerResult, Error> createContainer(
      const Model::CreateContainerRequest& request) const;
  virtual Util::Outcome<Model::ListBlobResult, Error> listBlob(
      const Model::ListBlobRequest& request) const;
  virtual Util::Outcome<Model::PutBlobResult, Error> putBlob(
      const Model::PutBlobRequest& request) const;

  const std::string& accountName() const { return accountName_; }
  Region region() const { return region_; }

 private:
  struct Implementation;

  std::string accountName_;
  Region region_;
  std::unique_ptr<Implementation> implementation_;
};

/// Translates the failures of Azure's Blob service, which are XML with the code also in a header.
class CLOUDSTORAGE_API AzureSSBErrorMarshaller : public WSErrorMarshaller {
 public:
  Service service() const override { return Service::AzureSSB; }
  Error marshall(const Http::Response& response, Http::Method method) const override;
};

}  // namespace CloudStorage::Client::AzureSSB
