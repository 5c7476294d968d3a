#include "Auth/OAuth2TokenEndpoint.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>
#include <vector>

#include "Auth/Redactor.h"
#include "Client/RunningCall.h"
#include "CloudStorage/Util/Outcome.h"
#include "Http/HeaderChecks.h"
#include "Http/PercentEncoding.h"
#include "Util/Json.h"
#include "Util/Text.h"

namespace CloudStorage::Auth {
namespace {

using Tokens = TokenRefresher::Tokens;

constexpr int kNoResponse = -1;
constexpr int kOk = 200;

struct Parameter {
  std::string_view name;
  std::string_view value;
  bool secret = false;
};
using Form = std::vector<Parameter>;

Http::Request encode(Http::URI uri, const Form& form) {
  Http::Request request;
  request.method = Http::Method::Post;
  request.uri = std::move(uri);
  // A code is valid once, and so is a refresh token where the service replaces it. Token requests
  // are so rare that an open connection would have been closed in the meantime anyway.
  request.isSentOnce = true;
  request.headers = {{Http::CONTENT_TYPE_HEADER, "application/x-www-form-urlencoded"},
                     {"accept", "application/json"}};
  for (const auto& [name, value, secret] : form) {
    if (!request.body.empty()) request.body += '&';
    request.body.append(name).append("=").append(Http::uriEncode(value, false));
  }
  return request;
}

bool couldNotConnect(const Http::Response& response) {
  using Kind = Http::TransportFailure::Kind;
  const auto& failure = response.failure;
  return failure && !failure->requestMayHaveRun &&
         (failure->kind == Kind::Unreachable || failure->kind == Kind::Timeout);
}

// Retries once, and only if nothing was sent: an authorization code is valid once, and some
// services revoke the whole grant when they receive a code twice. Both attempts share the limit.
Http::Response send(Http::Transport& transport, Http::Request request) {
  using Client::RunningCall;
  using Clock = std::chrono::steady_clock;
  constexpr std::chrono::milliseconds kLimit = std::chrono::minutes(1);
  request.timeLimit = kLimit;
  const auto begin = Clock::now();
  auto response = RunningCall::send(transport, request);
  if (!couldNotConnect(response)) return response;

  request.timeLimit =
      kLimit - std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - begin);
  if (request.timeLimit <= request.timeLimit.zero()) return response;
  return RunningCall::send(transport, request);
}

using TokensOutcome = Util::Outcome<Tokens, Util::Status>;

Util::Status malformed(const Http::Response& response, const char* reason) {
  return {response.status, std::string("MalformedResponse: ") + reason};
}

TokensOutcome parseTokens(const Http::Response& response) {
  if (!Http::mayBeJson(response)) return malformed(response, "the answer is not JSON");
  auto texts = Util::Json::texts(response.body, {"access_token", "refresh_token", "token_type"});
  auto& accessToken = texts[0];
  auto& refreshToken = texts[1];
  const auto& tokenType = texts[2];
  if (accessToken.empty()) return malformed(response, "the answer holds no access token");
  if (!tokenType.empty() && Util::lowerCase(tokenType) != "bearer") {
    return malformed(response, "the access token is no bearer token");
  }
  if (!Http::isValidHeaderValue(accessToken) || !Http::isValidHeaderValue(refreshToken)) {
    return malformed(response, "a token contains control characters");
  }
  return Tokens{std::move(accessToken), std::move(refreshToken)};
}

std::string refusalText(const Http::Response& response) {
  const auto texts = Util::Json::texts(response.body, {"error", "error_description"});
  const auto& error = texts[0];
  const auto& description = texts[1];
  if (error.empty()) return "HTTP " + std::to_string(response.status);
  return description.empty() ? error : error + ": " + description;
}

// Redacts the secrets of the request, because some services quote the request in their messages.
Util::Status failure(int code, const std::string& text, const Form& form) {
  std::vector<std::string> secrets;
  for (const auto& [name, value, secret] : form) {
    if (secret) secrets.emplace_back(value);
  }
  return {code, Redactor(secrets).line(text)};
}

TokensOutcome requestTokens(const OAuth2ClientSpec& clientSpec, Http::Transport& transport,
                            const Form& form) {
  auto uri = Http::URI::parse(clientSpec.tokenEndpoint);
  if (!uri) {
    return Util::Status(kNoResponse, "InvalidRequest: the token endpoint's address is unusable");
  }

  const auto response = send(transport, encode(*std::move(uri), form));
  if (response.failure) {
    return failure(kNoResponse, response.failure->name + ": " + response.failure->message, form);
  }
  if (response.status != kOk) return failure(response.status, refusalText(response), form);
  return parseTokens(response);
}

}  // namespace

OAuth2TokenEndpoint::OAuth2TokenEndpoint(OAuth2ClientSpec clientSpec,
                                         std::shared_ptr<Http::Transport> transport)
    : clientSpec_(std::move(clientSpec)), transport_(std::move(transport)) {}

Util::Status OAuth2TokenEndpoint::refresh(Tokens& tokens) {
  if (tokens.refreshToken.empty()) return {kNoResponse, "There is no refresh token."};
  if (!Http::isValidHeaderValue(tokens.refreshToken)) {
    return {kNoResponse, "InvalidRequest: the refresh token contains control characters"};
  }
  auto outcome = requestTokens(clientSpec_, *transport_,
                               {{"grant_type", "refresh_token"},
                                {"refresh_token", tokens.refreshToken, true},
                                {"client_id", clientSpec_.clientId},
                                {"client_secret", clientSpec_.clientSecret, true}});
  if (!outcome.isSuccess()) return outcome.getError();
  Tokens renewed = std::move(outcome).getResult();
  if (renewed.refreshToken.empty()) renewed.refreshToken = std::move(tokens.refreshToken);
  tokens = std::move(renewed);
  return {};
}

Util::Status OAuth2TokenEndpoint::exchange(const std::string& code, const std::string& scope,
                                           Tokens& tokens) {
  Form form{{"grant_type", "authorization_code"},
            {"code", code, true},
            {"client_id", clientSpec_.clientId},
            {"client_secret", clientSpec_.clientSecret, true},
            {"redirect_uri", clientSpec_.redirectUri}};
  if (!scope.empty()) form.push_back({"scope", scope});
  auto outcome = requestTokens(clientSpec_, *transport_, form);
  if (!outcome.isSuccess()) return outcome.getError();
  tokens = std::move(outcome).getResult();
  return {};
}

}  // namespace CloudStorage::Auth
