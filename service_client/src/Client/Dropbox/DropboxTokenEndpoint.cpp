#include "Client/Dropbox/DropboxTokenEndpoint.h"

namespace CloudStorage::Client::Dropbox {
namespace {

using Tokens = Auth::TokenRefresher::Tokens;

// Does not occur in the service's tokens.
constexpr char kTokenSeparator = '|';

Tokens splitTokens(const std::string& text) {
  const auto separator = text.find(kTokenSeparator);
  if (separator == std::string::npos) return {text, {}};
  return {text.substr(0, separator), text.substr(separator + 1)};
}

// The tokens that belong together. A refresh token that is joined to the access token takes
// precedence, because both are from the same grant.
Tokens separate(const Tokens& tokens) {
  Tokens separated = splitTokens(tokens.accessToken);
  if (separated.refreshToken.empty()) separated.refreshToken = tokens.refreshToken;
  separated.lifetime = tokens.lifetime;
  return separated;
}

std::string joinTokens(const Tokens& tokens) {
  if (tokens.refreshToken.empty()) return tokens.accessToken;
  return tokens.accessToken + kTokenSeparator + tokens.refreshToken;
}

}  // namespace

Util::Status DropboxTokenEndpoint::refresh(Tokens& tokens) {
  if (splitTokens(tokens.accessToken).refreshToken.empty()) {
    return OAuth2TokenEndpoint::refresh(tokens);
  }
  Tokens separated = separate(tokens);
  auto status = OAuth2TokenEndpoint::refresh(separated);
  if (!status.isSuccess()) return status;
  tokens.accessToken = joinTokens(separated);
  tokens.lifetime = separated.lifetime;
  return status;
}

void DropboxTokenEndpoint::report(const Tokens& former, const Tokens& renewed) const {
  Tokens reported = separate(renewed);
  reported.accessToken = joinsTokens_ ? joinTokens(reported) : renewed.accessToken;
  OAuth2TokenEndpoint::report(separate(former), reported);
}

std::string DropboxTokenEndpoint::bearerOf(const std::string& accessToken) const {
  return splitTokens(accessToken).accessToken;
}

Util::Status DropboxTokenEndpoint::exchange(const Grant& grant, Tokens& tokens) {
  auto status = OAuth2TokenEndpoint::exchange(grant, tokens);
  if (status.isSuccess() && joinsTokens_) tokens.accessToken = joinTokens(tokens);
  return status;
}

}  // namespace CloudStorage::Client::Dropbox
