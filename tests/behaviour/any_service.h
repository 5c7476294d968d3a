#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

#include "cloud.h"
#include "service.h"
#include "support/attempt_fixture.h"
#include "support/log_capture.h"

namespace Behaviour {

using OpenSession = std::unique_ptr<session, void (*)(session*)>;

/// A test of what the services have in common. Its clock advances without real delays.
class AnyService : public testing::TestWithParam<const Service*> {
 protected:
  const Service& service() const { return *GetParam(); }

  OpenSession open(std::shared_ptr<CloudStorage::Http::Transport> transport) {
    auto environment = fixture.environment();
    environment.transport = std::move(transport);
    return {service().open(environment), service().facts.cleanup};
  }
  /// A session that is authorized, if its service uses tokens.
  OpenSession openAuthorized(std::shared_ptr<CloudStorage::Http::Transport> transport) {
    auto handle = open(std::move(transport));
    EXPECT_EQ(service().authorize(handle.get()), 0);
    return handle;
  }
  OpenSession openAuthorized() { return openAuthorized(cloud); }

  /// The lines that `operation` logs if its own request fails.
  std::vector<TestSupport::LogRecord> linesOf(const Operation& operation,
                                              const Failure& failure) const {
    if (!operation.failureText) return {};
    return {TestSupport::errorLine(*operation.failureText + service().textOf(failure))};
  }
  /// The lines that it logs if the first request of a new session fails.
  std::vector<TestSupport::LogRecord> firstLinesOf(const Operation& operation,
                                                   const Failure& failure) const {
    if (!operation.preparationFailureText) return linesOf(operation, failure);
    return {TestSupport::errorLine(*operation.preparationFailureText + failure.name + ' ' +
                                   failure.message)};
  }

  TestSupport::AttemptFixture fixture;
  std::shared_ptr<Cloud> cloud = std::make_shared<Cloud>(service());
  const TestSupport::LogCapture log;
};

inline std::vector<const Service*> allServices() {
  return {&s3(), &azureBlobs(), &amazonDrive(), &googleDrive(), &oneDrive(), &dropbox()};
}

template <typename Fact>
std::vector<const Service*> servicesWith(Fact Service::Facts::*fact) {
  std::vector<const Service*> found;
  for (const Service* service : allServices()) {
    if (service->facts.*fact) found.push_back(service);
  }
  return found;
}

/// Names a test after its service.
struct ServiceName {
  template <typename Info>
  std::string operator()(const Info& instance) const {
    return instance.param->facts.name;
  }
};

}  // namespace Behaviour
