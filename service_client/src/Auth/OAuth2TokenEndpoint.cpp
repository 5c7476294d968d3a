#include "Auth/OAuth2TokenEndpoint.h"

#include <cxxabi.h>

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>
#include <vector>

#include "Auth/Redactor.h"
#include "Client/ErrorMarshalling.h"
#include "Client/ErrorTables.h"
#include "Client/LastFailure.h"
#include "Client/RunningCall.h"
#include "Client/ServiceCall.h"
#include "CloudStorage/Util/Outcome.h"
#include "Config/ProcessSettings.h"
#include "Http/HeaderChecks.h"
#include "Http/PercentEncoding.h"
#include "Util/Json.h"
#include "Util/StatusBarrier.h"
#include "Util/Text.h"

namespace CloudStorage::Auth {
namespace {

using Client::CoreErrors;
using Client::ErrorRow;
using Client::kAnyStatus;
using Client::Retry;
using Client::ServiceMessage;
using Kind = Client::FailureKind;
using Tokens = TokenRefresher::Tokens;

/// As hosts see the operations in the records of failures.
constexpr char kRefresh[] = "refreshAccessToken";
constexpr char kExchange[] = "exchangeAuthorizationCode";

constexpr int kNoResponse = -1;
constexpr int kOk = 200;

struct Parameter {
  std::string_view name;
  std::string_view value;
  bool secret = false;
};
using Form = std::vector<Parameter>;

void addUnlessEmpty(Form& form, const Parameter& parameter) {
  if (!parameter.value.empty()) form.push_back(parameter);
}

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
  using Reason = Http::TransportFailure::Kind;
  const auto& failure = response.failure;
  return failure && !failure->requestMayHaveRun &&
         (failure->kind == Reason::Unreachable || failure->kind == Reason::Timeout);
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

/// The meaning of the service's errors (RFC 6749, section 5.2, and OpenID Connect Core 1.0, section
/// 3.1.2.6). A request that the service calls invalid is the fault of the application, which
/// composes it, or of its registration.
constexpr ErrorRow kRows[] = {
    {kAnyStatus, "invalid_grant", CoreErrors::NotAuthenticated, Retry::Never, Kind::LinkAgain},
    {kAnyStatus, "interaction_required", CoreErrors::NotAuthenticated, Retry::Never,
     Kind::LinkAgain},
    {kAnyStatus, "consent_required", CoreErrors::NotAuthenticated, Retry::Never, Kind::LinkAgain},
    {kAnyStatus, "login_required", CoreErrors::NotAuthenticated, Retry::Never, Kind::LinkAgain},
    {kAnyStatus, "invalid_client", CoreErrors::AccessDenied, Retry::Never, Kind::HostFault},
    {kAnyStatus, "unauthorized_client", CoreErrors::AccessDenied, Retry::Never, Kind::HostFault},
    {kAnyStatus, "invalid_request", CoreErrors::InvalidRequest, Retry::Never, Kind::HostFault},
    {kAnyStatus, "invalid_scope", CoreErrors::InvalidRequest, Retry::Never, Kind::HostFault},
    {kAnyStatus, "invalid_resource", CoreErrors::InvalidRequest, Retry::Never, Kind::HostFault},
    {kAnyStatus, "unsupported_grant_type", CoreErrors::InvalidRequest, Retry::Never,
     Kind::HostFault},
    {kAnyStatus, "redirect_uri_mismatch", CoreErrors::InvalidRequest, Retry::Never,
     Kind::HostFault},
    {kAnyStatus, "access_denied", CoreErrors::AccessDenied, Retry::Never, Kind::Denied},
    {kAnyStatus, "temporarily_unavailable", CoreErrors::ServiceFailure, Retry::Always},
    {kAnyStatus, "server_error", CoreErrors::ServiceFailure, Retry::Always},
    {401, "", CoreErrors::AccessDenied, Retry::Never, Kind::HostFault},
    {404, "", CoreErrors::NotFound, Retry::Never, Kind::NotUnderstood},
};

ServiceMessage readMessage(const Http::Response& response) {
  const auto texts = Util::Json::texts(response.body, {"error", "error_description"});
  return {texts[0], texts[1]};
}

/// A failure as the functions of this file return it, and what it means.
struct Failure {
  Util::Status status;
  Client::Error error;
};
using TokensOutcome = Util::Outcome<Tokens, Failure>;

Failure malformed(const Http::Response& response, const char* reason) {
  Failure failure{{response.status, std::string("MalformedResponse: ") + reason},
                  Client::malformedResponse(reason)};
  Client::addResponse(failure.error, response);
  return failure;
}

Failure invalid(const char* reason) {
  return {{kNoResponse, std::string("InvalidRequest: ") + reason},
          Client::localError("InvalidRequest", reason)};
}

// -1 if there is none.
std::int64_t lifetimeIn(const std::string& body) {
  const auto lifetime = Util::Json::number(body, "expires_in");
  return lifetime && *lifetime >= 0 ? *lifetime : -1;
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
  return Tokens{std::move(accessToken), std::move(refreshToken), lifetimeIn(response.body)};
}

std::string textOf(const Http::Response& response) {
  if (response.failure) return response.failure->name + ": " + response.failure->message;
  const auto [error, description, finerCode] = readMessage(response);
  if (error.empty()) return "HTTP " + std::to_string(response.status);
  return description.empty() ? error : error + ": " + description;
}

// Redacts the secrets of the request, because some services quote the request in their messages.
Failure failureOf(const Http::Response& response, const Form& form) {
  std::vector<std::string> secrets;
  for (const auto& [name, value, secret] : form) {
    if (secret) secrets.emplace_back(value);
  }
  const Redactor redactor(secrets);
  Client::Error error = Client::marshallError(response, Http::Method::Post, readMessage, kRows);
  error.exceptionName = redactor.line(error.exceptionName);
  error.message = redactor.line(error.message);
  error.requestId = Util::oneLine(redactor.line(error.requestId), Client::kRequestIdLimit);
  const int code = response.failure ? kNoResponse : response.status;
  return {{code, redactor.line(textOf(response))}, std::move(error)};
}

TokensOutcome requestTokens(const OAuth2ClientSpec& clientSpec, Http::Transport& transport,
                            const Form& form) {
  auto uri = Http::URI::parse(clientSpec.tokenEndpoint);
  if (!uri) return invalid("the token endpoint's address is unusable");

  const auto response = send(transport, encode(*std::move(uri), form));
  if (response.failure || response.status != kOk) return failureOf(response, form);
  return parseTokens(response);
}

// A failure to compose the request or to read the response is recorded, too.
TokensOutcome guardedRequest(const OAuth2ClientSpec& clientSpec, Http::Transport& transport,
                             const Form& form) {
  try {
    return requestTokens(clientSpec, transport, form);
  } catch (const abi::__forced_unwind&) {  // the thread is cancelled; unwinding must continue
    throw;
  } catch (...) {
    return Failure{Util::statusOfCurrentException(),
                   Client::ServiceCall::errorOfCurrentException()};
  }
}

}  // namespace

Client::ErrorTable tokenErrorTable() { return kRows; }

OAuth2TokenEndpoint::OAuth2TokenEndpoint(OAuth2ClientSpec clientSpec,
                                         std::shared_ptr<Http::Transport> transport,
                                         Client::Service service)
    : clientSpec_(std::move(clientSpec)), transport_(std::move(transport)), service_(service) {}

Util::Status OAuth2TokenEndpoint::refresh(Tokens& tokens) {
  if (tokens.refreshToken.empty()) {
    // The service's refusal of the access token says more, so this does not explain it.
    Client::Error error = Client::localError("InvalidRequest", "There is no refresh token");
    error.errorType = CoreErrors::NotAuthenticated;
    error.kind = Kind::LinkAgain;
    Client::LastFailure::set(service_, kRefresh, error);
    return {kNoResponse, "There is no refresh token."};
  }
  Form form{{"grant_type", "refresh_token"},
            {"refresh_token", tokens.refreshToken, true},
            {"client_id", clientSpec_.clientId}};
  addUnlessEmpty(form, {"client_secret", clientSpec_.clientSecret, true});
  auto outcome = Http::isValidHeaderValue(tokens.refreshToken)
                     ? guardedRequest(clientSpec_, *transport_, form)
                     : TokensOutcome(invalid("the refresh token contains control characters"));
  if (!outcome.isSuccess()) {
    Client::LastFailure::set(service_, kRefresh, outcome.getError().error);
    Client::LastFailure::explainRefusal();
    return outcome.getError().status;
  }
  Tokens renewed = std::move(outcome).getResult();
  if (renewed.refreshToken.empty()) renewed.refreshToken = std::move(tokens.refreshToken);
  tokens = std::move(renewed);
  return {};
}

void OAuth2TokenEndpoint::report(const Tokens& former, const Tokens& renewed) const {
  const auto settings = Config::ProcessSettings::current();
  if (settings->tokenCallback) settings->tokenCallback(service_, former.refreshToken, renewed);
}

Util::Status OAuth2TokenEndpoint::exchange(const Grant& grant, Tokens& tokens) {
  Form form{{"grant_type", "authorization_code"},
            {"code", grant.code, true},
            {"client_id", clientSpec_.clientId}};
  addUnlessEmpty(form, {"client_secret", clientSpec_.clientSecret, true});
  form.push_back({"redirect_uri", clientSpec_.redirectUri});
  addUnlessEmpty(form, {"scope", grant.scope});
  addUnlessEmpty(form, {"code_verifier", grant.codeVerifier, true});
  auto outcome = guardedRequest(clientSpec_, *transport_, form);
  Client::RunningCall::report(kExchange, 0);
  if (!outcome.isSuccess()) {
    Client::LastFailure::set(service_, kExchange, outcome.getError().error);
    return outcome.getError().status;
  }
  tokens = std::move(outcome).getResult();
  return {};
}

}  // namespace CloudStorage::Auth
