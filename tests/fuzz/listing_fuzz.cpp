// The responses of one service, read through the C interface. FUZZED_SERVICE is the function that
// returns the service.

#include <glog/logging.h>

#include <cstring>
#include <memory>
#include <string>

#include "client_parts.h"
#include "cloud.h"
#include "error_checks.h"
#include "fuzz_input.h"
#include "service.h"

namespace {

using Behaviour::Operation;
using Behaviour::Outs;
using Behaviour::Service;
using Behaviour::Subject;
using ErrorChecks::require;
using FuzzParts::response;

constexpr int kAboveAllLevels = 4;

CloudStorage::Http::Response respond(const Service& service, std::string_view body,
                                     const CloudStorage::Http::Request& request) {
  if (request.uri.toString() == Behaviour::Cloud::kTokenEndpoint) {
    return response(200, R"({"access_token":"access","refresh_token":"refresh"})");
  }
  if (service.subjectOf(request) == Subject::Preparation) {
    return response(200, service.bodyAbout(Subject::Preparation));
  }
  return response(200, body);
}

// Reads all that a host may read.
void checkOuts(const Outs& outs) {
  if (!outs.folder.isUntouched()) require(outs.folder.record->name != nullptr);
  if (outs.folders.isWritten()) {
    for (int i = 0; i < outs.folders.count; ++i) {
      require(std::strlen(outs.folders.list[i].name) < std::size_t{1} << 30U);
    }
  }
  if (!outs.buckets.isWritten()) return;
  for (int i = 0; i < outs.buckets.count; ++i) {
    require(std::strlen(outs.buckets.list[i]) < std::size_t{1} << 30U);
  }
}

void check(const Service& service, const Operation& operation, std::string_view body) {
  const auto transport = std::make_shared<FuzzParts::LimitedTransport>(
      [&](const auto& request) { return respond(service, body, request); });
  session* handle = service.open(FuzzParts::environment(transport));
  require(service.authorize(handle) == 0);
  Outs outs;
  const int code = operation.call(handle, outs);
  require(code >= 0);
  if (code == 0) {
    checkOuts(outs);
  } else {
    require(outs.state() == operation.afterFailure);
  }
  service.facts.cleanup(handle);
}

}  // namespace

void checkInput(std::string_view input) {
  FLAGS_minloglevel = kAboveAllLevels;
  const Service& service = Behaviour::FUZZED_SERVICE();
  for (const Operation& operation : service.operations()) check(service, operation, input);
}
