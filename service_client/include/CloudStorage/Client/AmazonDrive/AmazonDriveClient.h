#pragma once

#include <memory>
#include <mutex>
#include <string>

#include "CloudStorage/Client/AmazonDrive/Model/ComRequest.h"
#include "CloudStorage/Client/AmazonDrive/Model/FileRequest.h"
#include "CloudStorage/Client/AmazonDrive/Model/FileResource.h"
#include "CloudStorage/Client/AmazonDrive/Model/GetEndpointResult.h"
#include "CloudStorage/Client/AmazonDrive/Model/GetProfileResult.h"
#include "CloudStorage/Client/AmazonDrive/Model/ListFileResourceRequest.h"
#include "CloudStorage/Client/AmazonDrive/Model/ListFileResourceResult.h"
#include "CloudStorage/Client/OAuth2Client.h"
#include "CloudStorage/Util/Outcome.h"

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

  virtual Util::Outcome<Model::GetEndpointResult, Error> getEndpoint(
      const Model::ComRequest& request) const;
  virtual Util::Outcome<Model::GetProfileResult, Error> getProfile(
      const Model::ComRequest& request) const;
  virtual Util::Outcome<Model::ListFileResourceResult, Error> listFileResource(
      const Model::ListFileResourceRequest& request) const;
  virtual Util::Outcome<Model::FileResource, Error> folderCreate(
      const Model::FileRequest& request) const;

  /// The addresses under which the account is served; empty until somebody has found them out and
  /// set them. Requests name the one that they go to.
  struct Endpoints {
    std::string content;
    std::string metadata;
  };
  Endpoints endpoints() const;
  void setEndpoints(Endpoints endpoints);

 private:
  struct Implementation;

  mutable std::mutex endpointsMutex_;
  Endpoints endpoints_;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace CloudStorage::Client::AmazonDrive
