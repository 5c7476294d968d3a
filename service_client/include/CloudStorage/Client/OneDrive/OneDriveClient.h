#pragma once

#include <vector>

#include "CloudStorage/Client/Account.h"
#include "CloudStorage/Client/OAuth2Client.h"
#include "CloudStorage/Client/OneDrive/Model.h"
#include "CloudStorage/Client/OneDrive/RemoteItems.h"
#include "CloudStorage/Util/Outcome.h"

namespace CloudStorage::Client::OneDrive {

/// OneDrive through Microsoft Graph v1.0.
class CLOUDSTORAGE_API OneDriveClient : public OAuth2Client {
 public:
  using OAuth2Client::OAuth2Client;

  virtual Util::Outcome<Model::DriveItem, Error> getDriveItem(
      const Model::GetDriveItemRequest& request) const;
  virtual Util::Outcome<Model::DriveMetadata, Error> getDriveMetadata(
      const Model::GetDriveMetadataRequest& request) const;
  virtual Util::Outcome<Model::ListChildrenResult, Error> listChildren(
      const Model::ListChildrenRequest& request) const;
  virtual Util::Outcome<Model::DriveItem, Error> createFolder(
      const Model::CreateFolderRequest& request) const;

  /// The owner of the account, in two requests.
  Util::Outcome<Account, Error> getAccount() const;

 protected:
  std::vector<Http::URI::QueryParameter> authorizationParameters(
      const Auth::OAuth2RequestOptions& options) const override;

 private:
  mutable RemoteItems remoteItems_;
};

/// Translates the failures of Microsoft Graph, which are JSON.
class CLOUDSTORAGE_API OneDriveErrorMarshaller : public WSErrorMarshaller {
 public:
  Service service() const override { return Service::OneDrive; }
  Error marshall(const Http::Response& response, Http::Method method) const override;
};

}  // namespace CloudStorage::Client::OneDrive
