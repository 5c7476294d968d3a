#include "libvemlo/oauth2_flow.h"

#include <cstdlib>
#include <memory>
#include <utility>

#include "CloudStorage/Auth/OAuth2Credential.h"
#include "CloudStorage/Auth/OAuth2RequestOptions.h"
#include "libvemlo/records.h"

using CloudStorage::Auth::OAuth2Credential;
using CloudStorage::Auth::OAuth2RequestOptions;
using CloudStorage::Client::OAuth2Client;

namespace {

std::shared_ptr<OAuth2Credential> credentialOf(const OAuth2Client& client) {
  return std::dynamic_pointer_cast<OAuth2Credential>(client.credential());
}

}  // namespace

namespace libvemlo {

CodeExchange exchangeCode(const OAuth2Client& client, const std::string& code,
                          const std::string& scope) {
  const auto credential = credentialOf(client);
  if (!credential) return {{-1, "The client has no credential for tokens."}, {}, {}};
  OAuth2RequestOptions options;
  options.scope = scope;
  auto status = client.exchangeAuthorizationCode(code, options, *credential);
  return {std::move(status), credential->accessToken(), credential->refreshToken()};
}

std::string describeFailure(const CodeExchange& exchange, const std::string& code) {
  return std::string(kExchangeFailureText) + "authorizationCode = " + code + ", " +
         exchange.status.toString();
}

void handOutTokens(const CodeExchange& exchange, char** accessToken, char** refreshToken) {
  std::unique_ptr<char, void (*)(void*)> accessCopy(copyOf(exchange.accessToken), std::free);
  *refreshToken = copyOf(exchange.refreshToken);
  *accessToken = accessCopy.release();
}

bool storeTokens(const OAuth2Client& client, std::string accessToken, std::string refreshToken) {
  const auto credential = credentialOf(client);
  if (!credential) return false;
  credential->setTokens(std::move(accessToken), std::move(refreshToken));
  return true;
}

bool storeAccessToken(const OAuth2Client& client, std::string accessToken) {
  const auto credential = credentialOf(client);
  if (!credential) return false;
  credential->setAccessToken(std::move(accessToken));
  return true;
}

}  // namespace libvemlo
