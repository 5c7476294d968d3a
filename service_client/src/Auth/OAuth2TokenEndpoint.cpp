#include "Auth/OAuth2TokenEndpoint.h"

#include <string_view>
#include <utility>
#include <vector>

#include "Http/HeaderText.h"
#include "Http/PercentEncoding.h"
#include "Util/Json.h"
#include "Util/Text.h"

namespace CloudStorage::Auth {
namespace {

using Tokens = TokenRefresher::Tokens;

constexpr int kNoAnswer = -1;
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
  request.headers = {{Http::CONTENT_TYPE_HEADER, "application/x-www-form-urlencoded"},
                     {"accept", "application/json"}};
  for (const auto& [name, value, secret] : form) {
    if (!request.body.empty()) request.body += '&';
    request.body.append(name).append("=").append(Http::uriEncode(value, false));
  }
  return request;
}

// Repeated once, and only if nothing was sent: an authorization code works a single time, and some
// services withdraw a whole grant when they see one twice.
Http::Response send(Http::Transport& transport, const Http::Request& request) {
  auto response = transport.send(request);
  const auto& failure = response.failure;
  if (failure && failure->kind == Http::TransportFailure::Kind::Unreachable &&
      !failure->requestMayHaveRun) {
    return transport.send(request);
  }
  return response;
}

// Fills `tokens` and returns an empty text, or says what is wrong with the answer.
std::string readTokens(const Http::Response& response, Tokens& tokens) {
  if (!Http::mayBeJson(response)) return "the answer is not JSON";
  auto texts = Util::Json::texts(response.body, {"access_token", "refresh_token", "token_type"});
  auto& accessToken = texts[0];
  auto& refreshToken = texts[1];
  const auto& tokenType = texts[2];
  if (accessToken.empty()) return "the answer holds no access token";
  if (!tokenType.empty() && Util::lowerCase(tokenType) != "bearer") {
    return "the access token is no bearer token";
  }
  if (!Http::fitsHeader(accessToken) || !Http::fitsHeader(refreshToken)) {
    return "a token contains control characters";
  }
  tokens = {std::move(accessToken), std::move(refreshToken)};
  return {};
}

std::string refusalText(const Http::Response& response) {
  const auto texts = Util::Json::texts(response.body, {"error", "error_description"});
  const auto& error = texts[0];
  const auto& description = texts[1];
  if (error.empty()) return "HTTP " + std::to_string(response.status);
  return description.empty() ? error : error + ": " + description;
}

// Some services repeat in their texts what they were sent.
Util::Status failure(int code, std::string text, const Form& form) {
  for (const auto& [name, value, secret] : form) {
    if (!secret) continue;
    Util::redact(text, value);
    Util::redact(text, Http::uriEncode(value, false));
  }
  return {code, Util::oneLine(text)};
}

Util::Status requestTokens(const OAuth2ClientSpec& clientSpec, Http::Transport& transport,
                           const Form& form, Tokens& tokens) {
  auto uri = Http::URI::parse(clientSpec.tokenEndpoint);
  if (!uri) return {kNoAnswer, "InvalidRequest: the token endpoint's address is unusable"};

  const auto response = send(transport, encode(*std::move(uri), form));
  if (response.failure) {
    return failure(kNoAnswer, response.failure->name + ": " + response.failure->message, form);
  }
  if (response.status != kOk) return failure(response.status, refusalText(response), form);
  const auto fault = readTokens(response, tokens);
  if (!fault.empty()) return {response.status, "MalformedResponse: " + fault};
  return {};
}

}  // namespace

OAuth2TokenEndpoint::OAuth2TokenEndpoint(OAuth2ClientSpec clientSpec,
                                         std::shared_ptr<Http::Transport> transport)
    : clientSpec_(std::move(clientSpec)), transport_(std::move(transport)) {}

Util::Status OAuth2TokenEndpoint::refresh(Tokens& tokens) {
  if (tokens.refreshToken.empty()) return {kNoAnswer, "There is no refresh token."};
  if (!Http::fitsHeader(tokens.refreshToken)) {
    return {kNoAnswer, "InvalidRequest: the refresh token contains control characters"};
  }
  Tokens renewed;
  auto status = requestTokens(clientSpec_, *transport_,
                              {{"grant_type", "refresh_token"},
                               {"refresh_token", tokens.refreshToken, true},
                               {"client_id", clientSpec_.clientId},
                               {"client_secret", clientSpec_.clientSecret, true}},
                              renewed);
  if (!status.isSuccess()) return status;
  if (renewed.refreshToken.empty()) renewed.refreshToken = std::move(tokens.refreshToken);
  tokens = std::move(renewed);
  return status;
}

Util::Status OAuth2TokenEndpoint::exchange(const std::string& code, const std::string& scope,
                                           Tokens& tokens) {
  Form form{{"grant_type", "authorization_code"},
            {"code", code, true},
            {"client_id", clientSpec_.clientId},
            {"client_secret", clientSpec_.clientSecret, true},
            {"redirect_uri", clientSpec_.redirectUri}};
  if (!scope.empty()) form.push_back({"scope", scope});
  return requestTokens(clientSpec_, *transport_, form, tokens);
}

}  // namespace CloudStorage::Auth
