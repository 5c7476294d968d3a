#include "Client/BearerConduct.h"

#include <string>

namespace CloudStorage::Client {

void BearerConduct::authorize(Http::Request& request) {
  const std::string token = credential_->accessTokenForAttempt();
  if (!token.empty()) request.headers["authorization"] = "Bearer " + token;
}

}  // namespace CloudStorage::Client
