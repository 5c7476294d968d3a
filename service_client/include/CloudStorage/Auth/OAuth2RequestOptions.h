#pragma once

#include <string>

namespace CloudStorage::Auth {

/// What an application asks for when it sends a user to a service's consent page, and again when it
/// trades the code that comes back. Empty texts are not sent. How a service calls an option, and
/// whether it knows it at all, is its client's business.
struct OAuth2RequestOptions {
  /// Handed back by the consent page (RFC 6749, section 4.1.1).
  std::string state;
  /// Separated by blanks.
  std::string scope;
  /// No service has a use for it.
  int maxAge = 0;
  /// "offline": a refresh token, too.
  std::string accessType;
  /// "force": ask the user even if consent was given before.
  std::string approvalPrompt;
  /// "true": the same, for services that name it so.
  std::string forceReapprove;
};

}  // namespace CloudStorage::Auth
