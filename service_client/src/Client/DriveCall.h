#pragma once

#include <memory>
#include <string>
#include <utility>

#include "Client/ServiceCall.h"
#include "CloudStorage/Auth/OAuth2Credential.h"
#include "Util/JsonParserPool.h"

namespace CloudStorage::Client {

/// The request policy of the drives: requests carry the current access token and accept only JSON.
/// Does not allow redirects, because the token is for the service's own hosts only.
class BearerPolicy : public RequestPolicy {
 public:
  explicit BearerPolicy(std::shared_ptr<Auth::OAuth2Credential> credential)
      : credential_(std::move(credential)) {}

  /// If there is no access token, it is refreshed before the first request. Without a refresh
  /// token, or if the refresh fails, the request is sent without an access token, and the service's
  /// 401 is handled like any other. Throws std::invalid_argument if the host has set a token that
  /// cannot be sent.
  void authorize(Http::Request& request) override;

 private:
  std::string tokenForAttempt();

  std::shared_ptr<Auth::OAuth2Credential> credential_;
  bool isFirstAttempt_ = true;
};

/// The policy of a creation, which would leave two folders if it ran twice, or report the first one
/// as a conflict.
class CreationPolicy final : public BearerPolicy {
 public:
  using BearerPolicy::BearerPolicy;

  bool isSentOnce() const override { return true; }
};

/// Sends the requests of one drive client, with the current access token. Safe for concurrent use.
class DriveCall {
 public:
  DriveCall(const ClientParts& parts, ClientEnvironment environment);

  /// See ServiceCall::send(). `parse` is also given a JSON parser for the response.
  template <typename Locate, typename Parse>
  auto send(const Operation& operation, const Locate& locate, const WSRequest& model,
            const Parse& parse) const {
    BearerPolicy policy(credential_);
    return send(operation, locate, model, policy, parse);
  }

  /// The same for a creation: a POST that is sent once per attempt.
  template <typename Locate, typename Parse>
  auto create(const char* operation, const Locate& locate, const WSRequest& model,
              const Parse& parse) const {
    CreationPolicy policy(credential_);
    return send({operation, Http::Method::Post}, locate, model, policy, parse);
  }

  /// The same with a policy that does more than authorize.
  template <typename Locate, typename Parse>
  auto send(const Operation& operation, const Locate& locate, const WSRequest& model,
            BearerPolicy& policy, const Parse& parse) const {
    return call_.send(operation, locate, model, policy, [&](Http::Response&& response) {
      const Util::Json::ParserPool::Lease lease(jsonParsers_);
      return parse(std::move(response), lease.parser());
    });
  }

  /// See ServiceCall::run().
  template <typename Work>
  auto run(const char* operation, const Work& work) const {
    return call_.run(operation, work);
  }

  /// See ServiceCall::transfer().
  Http::Response transfer(const char* operation, Http::Request& request) const {
    return call_.transfer(operation, request);
  }

  const std::shared_ptr<Auth::OAuth2Credential>& credential() const { return credential_; }

 private:
  std::shared_ptr<Auth::OAuth2Credential> credential_;
  ServiceCall call_;
  mutable Util::Json::ParserPool jsonParsers_;
};

}  // namespace CloudStorage::Client
