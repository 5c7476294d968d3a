#include "libvemlo/oauth2_flow.h"

#include <utility>

namespace libvemlo {

using CloudStorage::Auth::OAuth2Credential;
using CloudStorage::Auth::OAuth2RequestOptions;
using CloudStorage::Client::OAuth2Client;

std::shared_ptr<OAuth2Credential> credentialOf(const OAuth2Client& client) {
  return std::dynamic_pointer_cast<OAuth2Credential>(client.credential());
}

CodeExchange exchangeCode(const OAuth2Client& client, const std::string& code,
                          const OAuth2RequestOptions& options) {
  const auto credential = credentialOf(client);
  if (!credential) return {{-1, "The client has no credential for tokens."}, {}, {}};
  auto status = client.exchangeAuthorizationCode(code, options, *credential);
  return {std::move(status), credential->accessToken(), credential->refreshToken()};
}

std::string describeFailure(const CodeExchange& exchange, const std::string& code) {
  return "Failed to perform exchange authorization code. authorizationCode = " + code + ", " +
         exchange.status.toString();
}

}  // namespace libvemlo
