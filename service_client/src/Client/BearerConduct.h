#pragma once

#include <memory>
#include <utility>

#include "Client/ServiceCall.h"
#include "CloudStorage/Auth/OAuth2Credential.h"

namespace CloudStorage::Client {

/// What the attempts of one drive call are given: the access token of the moment, and the wish for
/// an answer in JSON. Follows no redirect, as the token is for the service's own hosts only.
class BearerConduct : public AttemptConduct {
 public:
  explicit BearerConduct(std::shared_ptr<Auth::OAuth2Credential> credential)
      : credential_(std::move(credential)) {}

  /// Leaves `request` as it is while there is no access token: the service's 401 then makes the
  /// retry strategy get one, if there is a refresh token. Throws std::invalid_argument if the
  /// host has set something that cannot be sent.
  void authorize(Http::Request& request) override;

 private:
  std::shared_ptr<Auth::OAuth2Credential> credential_;
};

}  // namespace CloudStorage::Client
