#pragma once

#include <string>

namespace CloudStorage::Auth {

/// The options of an authorization request and of the token request that exchanges the resulting
/// code. Empty texts are not sent. Each service's client decides which options it sends and under
/// which parameter names.
struct OAuth2RequestOptions {
  /// Returned unchanged in the redirect to the application (RFC 6749, section 4.1.1).
  std::string state;
  /// Scopes separated by spaces.
  std::string scope;
  /// Not sent to any service.
  int maxAge = 0;
  /// "offline" also requests a refresh token.
  std::string accessType;
  /// "force" prompts the user even if consent was given before.
  std::string approvalPrompt;
  /// "true" has the same effect, for services with a parameter of this name.
  std::string forceReapprove;
};

}  // namespace CloudStorage::Auth
