#pragma once

#include <string>

namespace CloudStorage::Auth {

/// How an application is known to an OAuth2 service (RFC 6749).
struct OAuth2ClientSpec {
  std::string clientId;
  std::string clientSecret;
  std::string redirectUri;
  std::string authorizationEndpoint;
  std::string tokenEndpoint;
  /// Where tokens are revoked (RFC 7009); no session sets it.
  std::string revocationEndpoint;
};

}  // namespace CloudStorage::Auth
