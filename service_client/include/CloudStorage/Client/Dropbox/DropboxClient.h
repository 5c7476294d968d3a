#pragma once

#include <memory>
#include <vector>

#include "CloudStorage/Client/Dropbox/Model/CreateFolderRequest.h"
#include "CloudStorage/Client/Dropbox/Model/ListFolderRequest.h"
#include "CloudStorage/Client/Dropbox/Model/ListFolderResult.h"
#include "CloudStorage/Client/Dropbox/Model/Metadata.h"
#include "CloudStorage/Client/OAuth2Client.h"
#include "CloudStorage/Util/Outcome.h"

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
  /// `joinsTokens`: whether the access token that an authorization code is traded for holds the
  /// refresh token as well, `<access token>|<refresh token>`. The others leave it to the build.
  DropboxClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts, ClientEnvironment environment,
                bool joinsTokens);
  ~DropboxClient() override;

  virtual Util::Outcome<Model::ListFolderResult, Error> listFolder(
      const Model::ListFolderRequest& request) const;
  virtual Util::Outcome<Model::Metadata, Error> createFolder(
      const Model::CreateFolderRequest& request) const;

 protected:
  std::vector<Http::URI::QueryParameter> authorizationParameters(
      const Auth::OAuth2RequestOptions& options) const override;

 private:
  struct Implementation;

  std::unique_ptr<Implementation> implementation_;
};

}  // namespace CloudStorage::Client::Dropbox
