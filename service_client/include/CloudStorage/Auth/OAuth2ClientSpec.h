#pragma once

#include <string>

namespace CloudStorage::Auth {

/// An application's registration with an OAuth2 service (RFC 6749), and the service's endpoints.
struct OAuth2ClientSpec {
  std::string clientId;
  std::string clientSecret;
  std::string redirectUri;
  std::string authorizationEndpoint;
  std::string tokenEndpoint;
  /// The token revocation endpoint (RFC 7009). No session sets it.
  std::string revocationEndpoint;
};

}  // namespace CloudStorage::Auth
