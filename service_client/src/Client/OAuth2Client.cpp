#include "CloudStorage/Client/OAuth2Client.h"

#include <chrono>
#include <utility>

#include "Auth/ConsentState.h"
#include "Auth/OAuth2TokenEndpoint.h"
#include "Auth/ProofKey.h"
#include "Client/DriveCall.h"
#include "Client/RunningCall.h"
#include "Config/ProcessSettings.h"
#include "Http/CurlTransport.h"
#include "Http/PercentEncoding.h"
#include "Util/StatusBarrier.h"

namespace CloudStorage::Client {
namespace {

// The responses of a token endpoint are small, and calls wait for them, so the limits are tighter
// than those of the operations.
std::shared_ptr<Http::Transport> makeTokenTransport(const Config::ProxySetting& proxy) {
  Http::CurlTransport::Options options;
  options.proxy = proxy;
  options.acceptCompressed = true;
  options.limits.total = std::chrono::seconds(60);
  options.limits.maxBody = std::size_t{1} << 20U;
  return std::make_shared<Http::CurlTransport>(std::move(options));
}

ClientEnvironment withClock(ClientEnvironment environment) {
  if (!environment.steadyNow) environment.steadyNow = std::chrono::steady_clock::now;
  return environment;
}

// The registration that the host has set, if any, in place of the built-in one.
Auth::OAuth2ClientSpec withApplication(Auth::OAuth2ClientSpec clientSpec, Service service) {
  const auto settings = Config::ProcessSettings::current();
  const auto found = settings->applications.find(service);
  if (found == settings->applications.end()) return clientSpec;
  const Config::Application& application = found->second;
  if (application.clientId) clientSpec.clientId = *application.clientId;
  if (application.clientSecret) clientSpec.clientSecret = *application.clientSecret;
  if (application.redirectUri) clientSpec.redirectUri = *application.redirectUri;
  return clientSpec;
}

void appendParameter(std::string& address, const std::string& name, const std::string& value) {
  if (value.empty()) return;
  address += address.find('?') == std::string::npos ? '?' : '&';
  address += name + '=' + Http::uriEncode(value, false);
}

}  // namespace

OAuth2Client::OAuth2Client(Auth::OAuth2ClientSpec clientSpec,
                           std::shared_ptr<Auth::OAuth2Credential> credential,
                           std::shared_ptr<RetryStrategy> retryStrategy,
                           std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                           std::shared_ptr<Util::RateLimiter> readRateLimiter,
                           std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                           Config::ProxySetting proxy)
    : OAuth2Client(
          std::move(clientSpec),
          {std::move(credential), std::move(retryStrategy), std::move(errorMarshaller),
           std::move(readRateLimiter), std::move(writeRateLimiter), nullptr, std::move(proxy)},
          {}) {}

OAuth2Client::OAuth2Client(Auth::OAuth2ClientSpec clientSpec, ClientParts parts,
                           ClientEnvironment environment)
    : WSClient(std::move(parts)),
      clientSpec_(withApplication(std::move(clientSpec), this->parts().service())),
      environment_(withClock(std::move(environment))),
      call_(std::make_shared<DriveCall>(this->parts(), environment_)),
      proofKey_(std::make_shared<Auth::ProofKey>()) {
  setTokenEndpoint(std::make_shared<Auth::OAuth2TokenEndpoint>(
      clientSpec_,
      environment_.transport ? environment_.transport : makeTokenTransport(this->parts().proxy),
      this->parts().service()));
}

OAuth2Client::~OAuth2Client() = default;

std::string OAuth2Client::buildAuthorizeUrl(const Auth::OAuth2RequestOptions& options) const {
  const std::string state = Auth::ConsentState::take();
  std::string address = clientSpec_.authorizationEndpoint;
  appendParameter(address, "client_id", clientSpec_.clientId);
  appendParameter(address, "response_type", "code");
  appendParameter(address, "redirect_uri", clientSpec_.redirectUri);
  appendParameter(address, "scope", options.scope);
  appendParameter(address, "state", options.state.empty() ? state : options.state);
  for (const auto& [name, value] : authorizationParameters(options)) {
    appendParameter(address, name, value);
  }
  if (!Config::ProcessSettings::current()->pkce) {
    proofKey_->discard();
    return address;
  }
  appendParameter(address, "code_challenge", proofKey_->renew());
  appendParameter(address, "code_challenge_method", "S256");
  return address;
}

Util::Status OAuth2Client::exchangeAuthorizationCode(const std::string& code,
                                                     const Auth::OAuth2RequestOptions& options,
                                                     Auth::OAuth2Credential& credential) const {
  return Util::guardedStatus([&] {
    CallBudget budget;
    const RunningCall call(budget, environment_.steadyNow, parts().service());
    Auth::TokenRefresher::Tokens tokens;
    const std::string verifier = proofKey_->verifier();
    auto status = tokenEndpoint_->exchange({code, options.scope, verifier}, tokens);
    if (!status.isSuccess()) return status;
    proofKey_->discard(verifier);
    credential.setTokens(std::move(tokens.accessToken), std::move(tokens.refreshToken));
    return status;
  });
}

void OAuth2Client::setTokenEndpoint(std::shared_ptr<Auth::OAuth2TokenEndpoint> tokenEndpoint) {
  tokenEndpoint_ = std::move(tokenEndpoint);
  // The credential outlives the client if the host's retry strategy holds it, so the endpoint must
  // not refer to the client.
  const auto oauth2Credential = std::dynamic_pointer_cast<Auth::OAuth2Credential>(credential());
  if (oauth2Credential) oauth2Credential->setTokenRefresher(tokenEndpoint_, environment_.now);
}

}  // namespace CloudStorage::Client
