#pragma once

#include <vector>

#include "CloudStorage/Client/Account.h"
#include "CloudStorage/Client/GoogleDrive/Model.h"
#include "CloudStorage/Client/OAuth2Client.h"
#include "CloudStorage/Util/Outcome.h"

namespace CloudStorage::Client::GoogleDrive {

/// Google Drive, API v3.
class CLOUDSTORAGE_API GoogleDriveClient : public OAuth2Client {
 public:
  using OAuth2Client::OAuth2Client;

  virtual Util::Outcome<Model::FileResource, Error> getFileResource(
      const Model::GetFileResourceRequest& request) const;
  virtual Util::Outcome<Model::ListFileResourceResult, Error> listFileResource(
      const Model::ListFileResourceRequest& request) const;
  virtual Util::Outcome<Model::FileResource, Error> uploadFile(
      const Model::UploadFileRequest& request) const;

  /// The owner of the account, in one request.
  Util::Outcome<Account, Error> getAccount() const;

 protected:
  std::vector<Http::URI::QueryParameter> authorizationParameters(
      const Auth::OAuth2RequestOptions& options) const override;
};

/// Translates the failures of the Google Drive API v3, which are JSON.
class CLOUDSTORAGE_API GoogleDriveErrorMarshaller : public WSErrorMarshaller {
 public:
  Service service() const override { return Service::GoogleDrive; }
  Error marshall(const Http::Response& response, Http::Method method) const override;
};

}  // namespace CloudStorage::Client::GoogleDrive
