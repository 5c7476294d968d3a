#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "Client/BearerConduct.h"
#include "Client/ServiceCall.h"

namespace CloudStorage::Client {

/// The requests of a drive client: with the access token of the moment, answered in JSON.
class DriveCall {
 public:
  DriveCall(const ClientParts& parts, ClientEnvironment environment);

  template <typename Result>
  Util::Outcome<Result, Error> send(Http::Method method, const Http::URI& uri,
                                    const WSRequest& model,
                                    ServiceCall::Parser<Result> parse) const {
    BearerConduct conduct(credential_);
    return call_.send<Result>(method, uri, model, conduct, parse);
  }

  const std::shared_ptr<Auth::OAuth2Credential>& credential() const { return credential_; }
  const ServiceCall& call() const { return call_; }

 private:
  std::shared_ptr<Auth::OAuth2Credential> credential_;
  ServiceCall call_;
};

/// Whether `id` can stand in a path by itself; as a segment the others would address something
/// else.
inline bool isPathSegment(std::string_view id) { return !id.empty() && id != "." && id != ".."; }

}  // namespace CloudStorage::Client
