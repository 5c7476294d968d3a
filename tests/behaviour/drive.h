#pragma once

#include <cstdlib>
#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "CloudStorage/Auth/OAuth2Credential.h"
#include "cloud.h"
#include "libvemlo/session.h"
#include "service.h"

namespace Behaviour {

/// What the drive services have in common: tokens, parents that are named by an id, and failures
/// that all look the same but for their text in the log.
template <typename Client, typename Strategy, typename Marshaller>
class Drive : public Service {
 public:
  session* open(const CloudStorage::Client::ClientEnvironment& environment) const override {
    CloudStorage::Auth::OAuth2ClientSpec spec;
    spec.clientId = "client";
    spec.clientSecret = "client secret";
    spec.tokenEndpoint = Cloud::kTokenEndpoint;
    const auto credential = std::make_shared<CloudStorage::Auth::OAuth2Credential>();
    CloudStorage::Client::ClientParts parts;
    parts.credential = credential;
    parts.retryStrategy = std::make_shared<Strategy>(credential);
    parts.errorMarshaller = std::make_shared<Marshaller>();

    session* handle = functions_.open(nullptr);
    handle->*functions_.client = std::make_shared<Client>(spec, parts, environment);
    return handle;
  }

  Operation listing() const override {
    Operation operation;
    operation.name = "ListDirectory";
    operation.failureText = "Failed to list directories. ";
    operation.preparationFailureText = listingPreparationFailureText();
    operation = operationOf(operation, functions_.list, [this](session* handle, Outs& outs) {
      return std::tuple(handle, parent(), &outs.folders, &outs.count);
    });
    return withCall(operation, [this](session* handle, Outs& outs) {
      return functions_.list(handle, &kParentWithoutId, &outs.folders, &outs.count);
    });
  }

  Operation creationOf(const std::string& name) const override {
    Operation operation;
    operation.name = "CreateDirectory";
    operation.failureText = "Failed to create directory. ";
    operation.preparationFailureText = preparationFailureText();
    operation =
        operationOf(operation, functions_.create, [this, name](session* handle, Outs& outs) {
          return std::tuple(handle, parent(), name.c_str(), &outs.folder);
        });
    return withCall(operation, [this, name](session* handle, Outs& outs) {
      return functions_.create(handle, &kParentWithoutId, name.c_str(), &outs.folder);
    });
  }

  std::vector<Operation> otherOperations() const override {
    if (functions_.getRoot == nullptr) return {};
    Operation operation;
    operation.name = "GetRootDirectory";
    operation.failureText = "Failed to get root directory. ";
    operation.preparationFailureText = preparationFailureText();
    return {operationOf(operation, functions_.getRoot, [](session* handle, Outs& outs) {
      return std::tuple(handle, &outs.folder);
    })};
  }

  int resultOf(const Failure& /*failure*/) const override { return 1; }
  std::string textOf(const Failure& failure) const override { return failure.message; }

 protected:
  struct Functions {
    session* (*open)(const proxy_setting* proxy);
    std::shared_ptr<Client> session::*client;
    int (*list)(session* handle, const directory* parent, directory** children, int* count);
    int (*create)(session* handle, const directory* parent, const char* name, directory** created);
    /// Null for a service that has no such function.
    int (*getRoot)(session* handle, directory** root);
  };

  Drive(const Facts& serviceFacts, const Functions& functions, std::string parentId)
      : Service(serviceFacts),
        functions_(functions),
        parentId_(std::move(parentId)),
        parent_{nullptr, parentId_.data()} {}

  /// Of the request that a new session's first operation makes before its own, if there is one.
  virtual std::optional<std::string> preparationFailureText() const { return std::nullopt; }
  virtual std::optional<std::string> listingPreparationFailureText() const {
    return preparationFailureText();
  }

  const std::string& parentId() const { return parentId_; }

 private:
  static constexpr directory kParentWithoutId{nullptr, nullptr};

  /// One more call of `operation` with a pointer that is null.
  template <typename Call>
  static Operation withCall(Operation operation, Call call) {
    const auto others = std::move(operation.callWithEachNull);
    operation.callWithEachNull = [=](session* handle, Outs& outs) {
      auto results = others(handle, outs);
      results.push_back(call(handle, outs));
      return results;
    };
    return operation;
  }

  const directory* parent() const { return &parent_; }

  const Functions functions_;
  std::string parentId_;
  const directory parent_;
};

/// For a service whose token exchange hands out both tokens.
template <typename Exchange>
int exchangeCode(Exchange exchange, session* handle) {
  char* accessToken = nullptr;
  char* refreshToken = nullptr;
  const int result = exchange(handle, "code", &accessToken, &refreshToken);
  std::free(accessToken);
  std::free(refreshToken);
  return result;
}

}  // namespace Behaviour
