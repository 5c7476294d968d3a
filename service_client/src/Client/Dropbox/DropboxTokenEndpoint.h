#pragma once

#include <string>

#include "Auth/OAuth2TokenEndpoint.h"

namespace CloudStorage::Client::Dropbox {

/// Dropbox's token endpoint. A host stores a single text for each account, which may hold both
/// tokens: `<access token>|<refresh token>`. Such a text outlives the hours for which an access
/// token is good. Without a bar, of which there is none in the tokens, it is an access token.
class DropboxTokenEndpoint final : public Auth::OAuth2TokenEndpoint {
 public:
  /// `joinsTokens`: whether the access token that a code is traded for is such a text.
  DropboxTokenEndpoint(const Auth::OAuth2TokenEndpoint& endpoint, bool joinsTokens)
      : OAuth2TokenEndpoint(endpoint), joinsTokens_(joinsTokens) {}

  /// The refresh token beside the access token goes before any other, as the two are from the same
  /// grant.
  Util::Status refresh(Tokens& tokens) override;
  std::string bearerOf(const std::string& accessToken) const override;
  Util::Status exchange(const std::string& code, const std::string& scope, Tokens& tokens) override;

 private:
  bool joinsTokens_;
};

}  // namespace CloudStorage::Client::Dropbox
