#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Auth/OAuth2ClientSpec.h"
#include "CloudStorage/Auth/OAuth2Credential.h"
#include "CloudStorage/Auth/OAuth2RequestOptions.h"
#include "CloudStorage/Client/WSClient.h"
#include "CloudStorage/Http/URI.h"
#include "CloudStorage/Util/Status.h"

namespace CloudStorage::Auth {
class OAuth2TokenEndpoint;
class ProofKey;
}  // namespace CloudStorage::Auth

namespace CloudStorage::Client {

class DriveCall;

/// Base of the clients whose requests carry an OAuth2 access token. A drive's client adds the
/// drive's operations. Must be owned by a shared pointer.
class CLOUDSTORAGE_API OAuth2Client : public WSClient,
                                      public std::enable_shared_from_this<OAuth2Client> {
 public:
  /// Makes `credential` refreshable by setting its token refresher to the service's token endpoint.
  /// What the host has set with vemlo_client_set_application() takes precedence over `clientSpec`.
  /// Does not connect.
  OAuth2Client(Auth::OAuth2ClientSpec clientSpec,
               std::shared_ptr<Auth::OAuth2Credential> credential,
               std::shared_ptr<RetryStrategy> retryStrategy,
               std::shared_ptr<WSErrorMarshaller> errorMarshaller,
               std::shared_ptr<Util::RateLimiter> readRateLimiter,
               std::shared_ptr<Util::RateLimiter> writeRateLimiter, Config::ProxySetting proxy);
  OAuth2Client(Auth::OAuth2ClientSpec clientSpec, ClientParts parts, ClientEnvironment environment);
  ~OAuth2Client() override;

  const Auth::OAuth2ClientSpec& clientSpec() const { return clientSpec_; }

  /// The address of the web page on which a user gives consent. Sends no request. Fails only with
  /// std::bad_alloc, or with std::runtime_error if there are no random numbers for a proof key.
  virtual std::string buildAuthorizeUrl(const Auth::OAuth2RequestOptions& options) const;

  /// Exchanges an authorization code for tokens and stores them in `credential`; its refresh token
  /// becomes empty if the response contains none. On failure the credential does not change, and
  /// the status states the reason. A code is valid once, so it is never sent twice. Blocks for one
  /// request. Does not throw.
  virtual Util::Status exchangeAuthorizationCode(const std::string& code,
                                                 const Auth::OAuth2RequestOptions& options,
                                                 Auth::OAuth2Credential& credential) const;

 protected:
  /// The service's own parameters of the authorization address, not encoded. Parameters without a
  /// value are not sent.
  virtual std::vector<Http::URI::QueryParameter> authorizationParameters(
      const Auth::OAuth2RequestOptions& /*options*/) const {
    return {};
  }

  /// Sends the requests of the operations.
  const DriveCall& call() const { return *call_; }

  const Auth::OAuth2TokenEndpoint& tokenEndpoint() const { return *tokenEndpoint_; }
  /// For the constructors of clients whose service needs more than the standard token endpoint.
  void setTokenEndpoint(std::shared_ptr<Auth::OAuth2TokenEndpoint> tokenEndpoint);

 private:
  Auth::OAuth2ClientSpec clientSpec_;
  ClientEnvironment environment_;
  std::shared_ptr<Auth::OAuth2TokenEndpoint> tokenEndpoint_;
  std::shared_ptr<const DriveCall> call_;
  /// Of the last address for consent, if it has one.
  std::shared_ptr<Auth::ProofKey> proofKey_;
};

}  // namespace CloudStorage::Client
