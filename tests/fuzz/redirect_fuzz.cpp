// The addresses that the object stores redirect requests to.

#include <glog/logging.h>

#include <algorithm>
#include <memory>
#include <string>

#include "client_parts.h"
#include "error_checks.h"
#include "fuzz_input.h"
#include "service.h"

namespace {

using Behaviour::Operation;
using Behaviour::Service;
using ErrorChecks::require;

constexpr int kAboveAllLevels = 4;

/// Whether a request that is signed for the account may go there.
bool isWithin(const CloudStorage::Http::URI& uri, const std::string& domain) {
  const std::string host = '.' + uri.host();
  return uri.scheme() == "https" && host.size() > domain.size() &&
         host.compare(host.size() - domain.size() - 1, std::string::npos, '.' + domain) == 0;
}

void check(const Service& service, const std::string& domain, const std::string& location) {
  const auto transport =
      std::make_shared<FuzzParts::LimitedTransport>([&](const auto& /*request*/) {
        return FuzzParts::response(307, "", {{"location", location}});
      });
  session* handle = service.open(FuzzParts::environment(transport));
  for (const Operation& operation : service.operations()) {
    Behaviour::Outs outs;
    require(operation.call(handle, outs) > 0);
  }
  service.facts.cleanup(handle);
  const auto& requests = transport->requests();
  require(std::all_of(requests.begin(), requests.end(),
                      [&](const auto& request) { return isWithin(request.uri, domain); }));
}

}  // namespace

void checkInput(std::string_view input) {
  FLAGS_minloglevel = kAboveAllLevels;
  const std::string location(input);
  check(Behaviour::s3(), "example.test", location);
  check(Behaviour::azureBlobs(), "blob.core.windows.net", location);
}
