#pragma once

#include <string>
#include <string_view>

#include "service.h"
#include "wire.h"

namespace Behaviour {

/// What the object stores have in common: folders are prefixes with their full name and without an
/// id, and operations return the type of a failure.
class ObjectStore : public Service {
 public:
  /// `host` serves the account.
  ObjectStore(const Facts& serviceFacts, std::string_view host)
      : Service(serviceFacts), host_(host) {}

  int authorize(session* /*handle*/) const override { return 0; }
  int resultOf(const Failure& failure) const override { return failure.type; }
  std::string textOf(const Failure& failure) const override {
    return "{ Error type: " + std::to_string(failure.type) + ", Exception: " + failure.name +
           ", Message: " + failure.message +
           ", HttpResponseCode: " + std::to_string(failure.status) +
           ", Retryable: " + (failure.retryable ? "1" : "0") + " }";
  }

  Subject subjectOf(const CloudStorage::Http::Request& request) const override {
    const std::string& path = request.uri.path();
    if (request.uri.host() != host_) return Subject::Unknown;
    if (path.empty() || path == "/") return Subject::Buckets;
    if (path == pathOf(kNewBucket)) return Subject::BucketCreation;
    if (request.method == CloudStorage::Http::Method::Put) {
      return startsWith(path, parentPath()) ? Subject::Creation : Subject::Unknown;
    }
    const bool isForParent = parameterOf(request.uri, "prefix") == kPrefix;
    return path == pathOf(kBucket) && isForParent ? Subject::Page : Subject::Unknown;
  }
  std::string nameIn(const CloudStorage::Http::Request& request) const override {
    const std::string name = request.uri.path().substr(parentPath().size());
    return name.substr(0, name.size() - 1);
  }
  Folder folderNamed(const std::string& name, std::size_t /*number*/) const override {
    return {"", keyOf(name)};
  }

 protected:
  static constexpr char kBucket[] = "box";
  static constexpr char kNewBucket[] = "new-box";
  static constexpr char kPrefix[] = "parent/";

  static std::string keyOf(const std::string& name) { return kPrefix + name + '/'; }

  /// Has no outs and does not log its failures.
  static Operation silentOperation() {
    Operation operation;
    operation.name = "CreateDirectory";
    operation.afterFailure = Outs::State::Untouched;
    return operation;
  }
  static Operation loggedOperation(const char* name) {
    Operation operation;
    operation.name = name;
    operation.failureText = "";
    return operation;
  }

 private:
  static std::string pathOf(const char* bucket) { return std::string("/") + bucket; }
  static std::string parentPath() { return pathOf(kBucket) + '/' + kPrefix; }

  const std::string_view host_;
};

}  // namespace Behaviour
