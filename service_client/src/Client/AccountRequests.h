#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "Client/DriveCall.h"
#include "Client/JsonResponse.h"
#include "CloudStorage/Client/Account.h"
#include "CloudStorage/Client/SerializableWSRequest.h"
#include "CloudStorage/Http/URI.h"

/// What the drives' requests about the owner of an account have in common.
namespace CloudStorage::Client {

/// A request for what `address` names.
class AccountRequest : public SerializableWSRequest {
 public:
  explicit AccountRequest(std::string requestBody = {})
      : SerializableWSRequest("application/json"), body_(std::move(requestBody)) {}

  std::string serializePayload() const override { return body_; }

 private:
  std::string body_;
};

/// Reads a number of bytes; -1 if the value is absent.
inline void readSpace(Util::Json::Value value, std::int64_t& out) {
  std::uint64_t bytes = 0;
  out = Util::Json::readNumber(value, bytes) && bytes <= INT64_MAX
            ? static_cast<std::int64_t>(bytes)
            : -1;
}

/// The policy of such a request. Without a token, the service says nothing about its scopes.
class AccountPolicy final : public BearerPolicy {
 public:
  /// `isWithheld` tells whether a request failed only because the scopes of the tokens do not allow
  /// it.
  AccountPolicy(std::shared_ptr<Auth::OAuth2Credential> credential,
                bool (*isWithheld)(const Error&))
      : BearerPolicy(std::move(credential)), isWithheld_(isWithheld) {}

  bool isExpected(const Error& error) const override {
    return error.kind != FailureKind::LinkAgain && isWithheld_(error);
  }

 private:
  bool (*isWithheld_)(const Error&);
};

/// Adds to an account what the responses to several requests contain. All of them share the limits
/// of one call.
class AccountRequests {
 public:
  /// See AccountPolicy. A request that is withheld adds nothing, and is no failure for the host.
  AccountRequests(const DriveCall& call, bool (*isWithheld)(const Error&))
      : call_(call), isWithheld_(isWithheld) {}

  /// Sends a request, unless an earlier one has failed, and passes the JSON object in the response
  /// and the account to `read`.
  template <typename Read>
  AccountRequests& send(const Operation& operation, const char* address, AccountRequest request,
                        Read read) {
    if (!outcome_.isSuccess()) return *this;
    request.budget = &budget_;
    const auto parse = [&](Http::Response&& response,
                           Util::Json::Parser& json) -> Util::Outcome<Account, Error> {
      Account account = outcome_.getResult();
      const auto storage = readJson(std::move(response), isWholeResult, json,
                                    [&](Util::Json::Object object) { read(object, account); });
      if (!storage.isSuccess()) return storage.getError();
      return account;
    };
    AccountPolicy policy(call_.credential(), isWithheld_);
    auto outcome = call_.send(
        operation, [&] { return *Http::URI::parse(address); }, request, policy, parse);
    if (outcome.isSuccess() || !policy.isExpected(outcome.getError())) {
      outcome_ = std::move(outcome);
    }
    return *this;
  }

  Util::Outcome<Account, Error> account() { return std::move(outcome_); }

 private:
  const DriveCall& call_;
  bool (*isWithheld_)(const Error&);
  CallBudget budget_;
  Util::Outcome<Account, Error> outcome_{Account()};
};

}  // namespace CloudStorage::Client
