#include "Client/Dropbox/DropboxTokenEndpoint.h"

#include <utility>

namespace CloudStorage::Client::Dropbox {
namespace {

using Tokens = Auth::TokenRefresher::Tokens;

constexpr char kBar = '|';

Tokens split(const std::string& text) {
  const auto bar = text.find(kBar);
  if (bar == std::string::npos) return {text, {}};
  return {text.substr(0, bar), text.substr(bar + 1)};
}

std::string join(const Tokens& tokens) {
  if (tokens.refreshToken.empty()) return tokens.accessToken;
  return tokens.accessToken + kBar + tokens.refreshToken;
}

}  // namespace

Util::Status DropboxTokenEndpoint::refresh(Tokens& tokens) {
  Tokens joined = split(tokens.accessToken);
  if (joined.refreshToken.empty()) return OAuth2TokenEndpoint::refresh(tokens);
  auto status = OAuth2TokenEndpoint::refresh(joined);
  if (status.isSuccess()) tokens.accessToken = join(joined);
  return status;
}

std::string DropboxTokenEndpoint::bearerOf(const std::string& accessToken) const {
  return split(accessToken).accessToken;
}

Util::Status DropboxTokenEndpoint::exchange(const std::string& code, const std::string& scope,
                                            Tokens& tokens) {
  auto status = OAuth2TokenEndpoint::exchange(code, scope, tokens);
  if (status.isSuccess() && joinsTokens_) tokens.accessToken = join(tokens);
  return status;
}

}  // namespace CloudStorage::Client::Dropbox
