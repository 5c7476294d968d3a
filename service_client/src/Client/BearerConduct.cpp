#include "Client/BearerConduct.h"

#include <stdexcept>
#include <string>

#include "Http/HeaderText.h"

namespace CloudStorage::Client {

void BearerConduct::authorize(Http::Request& request) {
  if (!credential_) throw std::invalid_argument("There is no credential to take a token from");
  request.headers["accept"] = "application/json";
  if (request.body.empty()) request.headers.erase(Http::CONTENT_TYPE_HEADER);
  const std::string token = credential_->accessTokenForAttempt();
  if (!Http::fitsHeader(token)) {
    throw std::invalid_argument("The access token contains control characters");
  }
  if (!token.empty()) request.headers["authorization"] = "Bearer " + token;
}

}  // namespace CloudStorage::Client
