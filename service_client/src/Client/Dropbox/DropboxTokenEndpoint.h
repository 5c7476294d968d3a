#pragma once

#include <string>

#include "Auth/OAuth2TokenEndpoint.h"

namespace CloudStorage::Client::Dropbox {

/// Supports access tokens that also contain the refresh token. A host stores a single text per
/// account, which remains usable after the access token has expired only if it holds both tokens.
class DropboxTokenEndpoint final : public Auth::OAuth2TokenEndpoint {
 public:
  /// `joinsTokens` states whether hosts get such access tokens. They may set them in any case.
  DropboxTokenEndpoint(const Auth::OAuth2TokenEndpoint& endpoint, bool joinsTokens)
      : OAuth2TokenEndpoint(endpoint), joinsTokens_(joinsTokens) {}

  /// The form of the access token stays as it is.
  Util::Status refresh(Tokens& tokens) override;
  void report(const Tokens& former, const Tokens& renewed) const override;
  std::string bearerOf(const std::string& accessToken) const override;
  Util::Status exchange(const Grant& grant, Tokens& tokens) override;

 private:
  bool joinsTokens_;
};

}  // namespace CloudStorage::Client::Dropbox
