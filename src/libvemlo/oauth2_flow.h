#pragma once

#include <string>

#include "CloudStorage/Client/OAuth2Client.h"
#include "CloudStorage/Util/Status.h"

// The steps of the authorization flow that are the same for all drive services.
namespace libvemlo {

// The result of exchanging an authorization code for tokens.
struct CodeExchange {
  CloudStorage::Util::Status status;
  // The tokens in the client's credential after the exchange.
  std::string accessToken;
  std::string refreshToken;
};

// Exchanges `code` for tokens of `scope`, which the client's credential receives.
CodeExchange exchangeCode(const CloudStorage::Client::OAuth2Client& client, const std::string& code,
                          const std::string& scope);

inline constexpr char kExchangeFailureText[] = "Failed to perform exchange authorization code. ";
// The beginning of the log line for a failed exchange.
std::string describeFailure(const CodeExchange& exchange, const std::string& code);

// Hands out copies of both tokens, or of none if there is no memory for both.
void handOutTokens(const CodeExchange& exchange, char** accessToken, char** refreshToken);

// Both replace tokens of the client's credential. False if the client has no OAuth2 credential,
// which is possible only with a service-client layer that the host provides.
bool storeTokens(const CloudStorage::Client::OAuth2Client& client, std::string accessToken,
                 std::string refreshToken);
bool storeAccessToken(const CloudStorage::Client::OAuth2Client& client, std::string accessToken);

}  // namespace libvemlo
