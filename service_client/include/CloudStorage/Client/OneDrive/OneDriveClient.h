#pragma once

#include <memory>
#include <vector>

#include "CloudStorage/Client/OAuth2Client.h"
#include "CloudStorage/Client/OneDrive/Model/CreateFolderRequest.h"
#include "CloudStorage/Client/OneDrive/Model/DriveItem.h"
#include "CloudStorage/Client/OneDrive/Model/DriveMetadata.h"
#include "CloudStorage/Client/OneDrive/Model/GetDriveItemRequest.h"
#include "CloudStorage/Client/OneDrive/Model/GetDriveMetadataRequest.h"
#include "CloudStorage/Client/OneDrive/Model/ListChildrenRequest.h"
#include "CloudStorage/Client/OneDrive/Model/ListChildrenResult.h"
#include "CloudStorage/Util/Outcome.h"

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

  virtual Util::Outcome<Model::DriveItem, Error> getDriveItem(
      const Model::GetDriveItemRequest& request) const;
  virtual Util::Outcome<Model::DriveMetadata, Error> getDriveMetadata(
      const Model::GetDriveMetadataRequest& request) const;
  virtual Util::Outcome<Model::ListChildrenResult, Error> listChildren(
      const Model::ListChildrenRequest& request) const;
  virtual Util::Outcome<Model::DriveItem, Error> createFolder(
      const Model::CreateFolderRequest& request) const;

 protected:
  std::vector<Http::URI::QueryParameter> authorizationParameters(
      const Auth::OAuth2RequestOptions& options) const override;

 private:
  struct Implementation;

  std::unique_ptr<Implementation> implementation_;
};

}  // namespace CloudStorage::Client::OneDrive
