#pragma once

#include <memory>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "CloudStorage/Auth/OAuth2Credential.h"
#include "cloud.h"
#include "libvemlo/retry_strategies.h"
#include "libvemlo/session.h"
#include "service.h"
#include "support/services.h"

namespace Behaviour {

/// What the drives have in common: tokens, parents with an id, and failures that differ only in
/// their text in the log.
template <typename Client, typename Strategy, typename Marshaller>
class Drive : public Service {
 public:
  session* open(const CloudStorage::Client::ClientEnvironment& environment) const override {
    CloudStorage::Auth::OAuth2ClientSpec spec;
    spec.clientId = "client";
    spec.clientSecret = "vB4tS client/secret";
    spec.tokenEndpoint = Cloud::kTokenEndpoint;
    const auto credential = std::make_shared<CloudStorage::Auth::OAuth2Credential>();
    CloudStorage::Client::ClientParts parts;
    parts.credential = credential;
    parts.retryStrategy = std::make_shared<Strategy>(credential);
    parts.errorMarshaller = std::make_shared<Marshaller>();

    session* handle = drive_.open(nullptr);
    handle->*drive_.member = std::make_shared<Client>(spec, parts, environment);
    return handle;
  }

  std::weak_ptr<void> clientOf(const session& handle) const override {
    return handle.*drive_.member;
  }

  int authorize(session* handle) const override {
    TestSupport::TextOut accessToken;
    TestSupport::TextOut refreshToken;
    return drive_.authorization.getToken(handle, "code", &accessToken.text, &refreshToken.text);
  }

  int restore(session* handle, const std::string& accessToken,
              const std::string& refreshToken) const override {
    return drive_.authorization.setToken(handle, accessToken.c_str(), refreshToken.c_str());
  }

  Operation listing() const override {
    Operation operation;
    operation.name = "ListDirectory";
    operation.failureText = "Failed to list directories. ";
    operation.preparationFailureText = listingPreparationFailureText();
    operation = operationOf(operation, drive_.folders.list, [this](session* handle, Outs& outs) {
      return std::tuple(handle, parent(), &outs.folders.list, &outs.folders.count);
    });
    return withCall(operation, [this](session* handle, Outs& outs) {
      return drive_.folders.list(handle, &kParentWithoutId, &outs.folders.list,
                                 &outs.folders.count);
    });
  }

  Operation creationOf(const std::string& name) const override {
    const auto create = drive_.folders.create;
    Operation operation;
    operation.name = "CreateDirectory";
    operation.failureText = "Failed to create directory. ";
    operation.preparationFailureText = preparationFailureText();
    operation = operationOf(operation, create, [this, name](session* handle, Outs& outs) {
      return std::tuple(handle, parent(), name.c_str(), &outs.folder.record);
    });
    return withCall(operation, [create, name](session* handle, Outs& outs) {
      return create(handle, &kParentWithoutId, name.c_str(), &outs.folder.record);
    });
  }

  std::vector<Operation> otherOperations() const override {
    if (drive_.folders.getRoot == nullptr) return {};
    Operation operation;
    operation.name = "GetRootDirectory";
    operation.failureText = "Failed to get root directory. ";
    operation.preparationFailureText = preparationFailureText();
    return {operationOf(operation, drive_.folders.getRoot, [](session* handle, Outs& outs) {
      return std::tuple(handle, &outs.folder.record);
    })};
  }

  int resultOf(const Failure& /*failure*/) const override { return 1; }
  std::string textOf(const Failure& failure) const override { return failure.message; }

 protected:
  /// `own` needs neither name nor cleanup function.
  Drive(const TestSupport::DriveOf<Client>& drive, std::string parentId, const Facts& own = {})
      : Service(factsOf(drive, own)),
        drive_(drive),
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

  static Facts factsOf(const TestSupport::Drive& drive, Facts own) {
    own.name = drive.name;
    own.cleanup = drive.cleanup;
    return own;
  }

  /// Adds a call of `operation` with a null pointer.
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

  const TestSupport::DriveOf<Client>& drive_;
  std::string parentId_;
  const directory parent_;
};

}  // namespace Behaviour
