#pragma once

#include <memory>
#include <vector>

#include "CloudStorage/Client/Account.h"
#include "CloudStorage/Client/Dropbox/Model.h"
#include "CloudStorage/Client/OAuth2Client.h"
#include "CloudStorage/Util/Outcome.h"

namespace CloudStorage::Client::Dropbox {

/// Dropbox, API v2. Unlike the other drives' clients it has constructors of its own, because its
/// tokens need their own token endpoint.
///
/// An access token that a host sets may also contain the refresh token, in the form
/// `<access token>|<refresh token>`.
class CLOUDSTORAGE_API DropboxClient : public OAuth2Client {
 public:
  /// What the options of a build decide.
  struct Options {
    /// Whether the access token that an authorization code is exchanged for also has this form.
    bool joinsTokens = false;
    /// Whether authorization requests ask for a refresh token.
    bool requestsOfflineAccess = true;
  };

  DropboxClient(Auth::OAuth2ClientSpec clientSpec,
                std::shared_ptr<Auth::OAuth2Credential> credential,
                std::shared_ptr<RetryStrategy> retryStrategy,
                std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                std::shared_ptr<Util::RateLimiter> readRateLimiter,
                std::shared_ptr<Util::RateLimiter> writeRateLimiter, Config::ProxySetting proxy);
  DropboxClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                ClientEnvironment environment);
  /// The other constructors take the options of this build.
  DropboxClient(Auth::OAuth2ClientSpec clientSpec, ClientParts parts, ClientEnvironment environment,
                Options options);

  /// All pages of a folder in one result; for a continuation, the one page that follows its cursor.
  virtual Util::Outcome<Model::ListFolderResult, Error> listFolder(
      const Model::ListFolderRequest& request) const;
  virtual Util::Outcome<Model::Metadata, Error> createFolder(
      const Model::CreateFolderRequest& request) const;

  /// The owner of the account, in two requests.
  Util::Outcome<Account, Error> getAccount() const;

 protected:
  std::vector<Http::URI::QueryParameter> authorizationParameters(
      const Auth::OAuth2RequestOptions& options) const override;

 private:
  Options options_;
};

/// Translates the failures of the Dropbox API v2, which are JSON or one sentence of plain text.
class CLOUDSTORAGE_API DropboxErrorMarshaller : public WSErrorMarshaller {
 public:
  Service service() const override { return Service::Dropbox; }
  Error marshall(const Http::Response& response, Http::Method method) const override;
};

}  // namespace CloudStorage::Client::Dropbox
