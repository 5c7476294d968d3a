#pragma once

#include <memory>
#include <vector>

#include "CloudStorage/Client/GoogleDrive/Model/FileResource.h"
#include "CloudStorage/Client/GoogleDrive/Model/GetFileResourceRequest.h"
#include "CloudStorage/Client/GoogleDrive/Model/ListFileResourceRequest.h"
#include "CloudStorage/Client/GoogleDrive/Model/ListFileResourceResult.h"
#include "CloudStorage/Client/GoogleDrive/Model/UploadFileRequest.h"
#include "CloudStorage/Client/OAuth2Client.h"
#include "CloudStorage/Util/Outcome.h"

namespace CloudStorage::Client::GoogleDrive {

/// Google Drive, API v3. Hands out shared references to itself, so it must be owned by a shared
/// pointer from the start.
class CLOUDSTORAGE_API GoogleDriveClient : public OAuth2Client,
                                           public std::enable_shared_from_this<GoogleDriveClient> {
 public:
  GoogleDriveClient(Auth::OAuth2ClientSpec clientSpec,
                    std::shared_ptr<Auth::OAuth2Credential> credential,
                    std::shared_ptr<RetryStrategy> retryStrategy,
                    std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                    std::shared_ptr<Util::RateLimiter> readRateLimiter,
                    std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                    Config::ProxySetting proxy);
  GoogleDriveClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                    ClientEnvironment environment);
  ~GoogleDriveClient() override;

  virtual Util::Outcome<Model::FileResource, Error> getFileResource(
      const Model::GetFileResourceRequest& request) const;
  virtual Util::Outcome<Model::ListFileResourceResult, Error> listFileResource(
      const Model::ListFileResourceRequest& request) const;
  virtual Util::Outcome<Model::FileResource, Error> uploadFile(
      const Model::UploadFileRequest& request) const;

 protected:
  std::vector<Http::URI::QueryParameter> authorizationParameters(
      const Auth::OAuth2RequestOptions& options) const override;

 private:
  struct Implementation;

  std::unique_ptr<Implementation> implementation_;
};

}  // namespace CloudStorage::Client::GoogleDrive
