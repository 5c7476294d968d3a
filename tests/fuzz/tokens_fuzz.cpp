#include <memory>

#include "Auth/OAuth2TokenEndpoint.h"
#include "Http/HeaderChecks.h"
#include "client_parts.h"
#include "error_checks.h"
#include "fuzz_input.h"

namespace {

using CloudStorage::Auth::OAuth2TokenEndpoint;
using ErrorChecks::require;
using Tokens = CloudStorage::Auth::TokenRefresher::Tokens;

constexpr char kSecret[] = "qX7vA/+secret=";

OAuth2TokenEndpoint endpointWith(int status, std::string_view body) {
  CloudStorage::Auth::OAuth2ClientSpec spec;
  spec.clientId = "client";
  spec.clientSecret = kSecret;
  spec.tokenEndpoint = "https://login.example.test/token";
  return {spec, std::make_shared<FuzzParts::LimitedTransport>(
                    [=](const auto& /*request*/) { return FuzzParts::response(status, body); })};
}

void checkRefusal(const CloudStorage::Util::Status& status) {
  require(status.getCode() != 0);
  ErrorChecks::checkLine(status.toString());
  require(status.toString().find(kSecret) == std::string::npos);
}

void checkTokens(const Tokens& tokens) {
  require(!tokens.accessToken.empty());
  require(CloudStorage::Http::isValidHeaderValue(tokens.accessToken));
  require(CloudStorage::Http::isValidHeaderValue(tokens.refreshToken));
}

}  // namespace

void checkInput(std::string_view input) {
  for (const int status : {200, 400}) {
    Tokens exchanged;
    const auto exchange = endpointWith(status, input).exchange({"code", "scope"}, exchanged);
    if (exchange.isSuccess()) {
      checkTokens(exchanged);
    } else {
      checkRefusal(exchange);
      require(exchanged.accessToken.empty() && exchanged.refreshToken.empty());
    }

    Tokens refreshed{"old", kSecret};
    const auto refresh = endpointWith(status, input).refresh(refreshed);
    if (refresh.isSuccess()) {
      checkTokens(refreshed);
      require(!refreshed.refreshToken.empty());
    } else {
      checkRefusal(refresh);
      require(refreshed.accessToken == "old" && refreshed.refreshToken == kSecret);
    }
  }
}
