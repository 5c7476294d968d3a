#include "Client/DriveCall.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "Http/CurlTransport.h"
#include "Http/HeaderChecks.h"

namespace CloudStorage::Client {
namespace {

// Compression reduces listings to a fraction of their size, and no drive signs the responses that
// it compresses.
ClientEnvironment withCompression(ClientEnvironment environment, const ClientParts& parts) {
  if (environment.transport) return environment;
  Http::CurlTransport::Options options;
  options.proxy = parts.proxy;
  options.acceptCompressed = true;
  environment.transport = std::make_shared<Http::CurlTransport>(std::move(options));
  return environment;
}

}  // namespace

void BearerPolicy::authorize(Http::Request& request) {
  if (!credential_) throw std::invalid_argument("There is no credential to take a token from");
  request.headers["accept"] = "application/json";
  if (request.body.empty()) request.headers.erase(Http::CONTENT_TYPE_HEADER);
  const std::string token = tokenForAttempt();
  if (!Http::isValidHeaderValue(token)) {
    throw std::invalid_argument("The access token contains control characters");
  }
  if (!token.empty()) request.headers["authorization"] = "Bearer " + token;
}

std::string BearerPolicy::tokenForAttempt() {
  std::string token = credential_->accessTokenForAttempt();
  const bool isFirst = std::exchange(isFirstAttempt_, false);
  if (!isFirst || !token.empty() || credential_->isEmpty()) return token;
  // A failure is not reported here: the response to the request without a token states it, too.
  static_cast<void>(credential_->refreshAccessToken());
  return credential_->accessTokenForAttempt();
}

DriveCall::DriveCall(const ClientParts& parts, ClientEnvironment environment)
    : credential_(std::dynamic_pointer_cast<Auth::OAuth2Credential>(parts.credential)),
      call_(parts, withCompression(std::move(environment), parts)) {}

}  // namespace CloudStorage::Client
