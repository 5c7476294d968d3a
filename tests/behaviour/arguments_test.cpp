#include <cstdint>

#include "any_service.h"

namespace Behaviour {
namespace {

using testing::Each;
using testing::IsEmpty;
using testing::Not;

using Arguments = AnyService;

TEST_P(Arguments, ValidOnesAreAcceptedAndNothingIsLoggedBelowLevelNine) {
  const TestSupport::VerboseLevel level(8);
  const auto handle = openAuthorized();
  for (const Operation& operation : service().operations()) {
    SCOPED_TRACE(operation.name);
    Outs outs;
    EXPECT_EQ(operation.call(handle.get(), outs), 0);
  }
  EXPECT_THAT(log.records(), IsEmpty());
}

/// Reading it is an invalid memory access.
session* unreadableSession() { return reinterpret_cast<session*>(std::uintptr_t{64}); }

// The session is the last argument that is checked.
TEST_P(Arguments, NullPointersAreRefusedBeforeAnythingElse) {
  const auto handle = openAuthorized();
  const auto requestsBefore = cloud->count();
  for (const Operation& operation : service().operations()) {
    SCOPED_TRACE(operation.name);
    for (session* const any : {handle.get(), unreadableSession(), static_cast<session*>(nullptr)}) {
      Outs outs;
      const auto results = operation.callWithEachNull(any, outs);
      EXPECT_THAT(results, Not(IsEmpty()));
      EXPECT_THAT(results, Each(-1));
      EXPECT_EQ(outs.state(), Outs::State::Untouched);
    }
  }
  EXPECT_EQ(cloud->count(), requestsBefore);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(Arguments, SessionsOfOtherServicesAreRefused) {
  for (const Service* other : allServices()) {
    if (other == &service()) continue;
    SCOPED_TRACE(other->facts.name);
    auto environment = fixture.environment();
    environment.transport = cloud;
    const OpenSession handle(other->open(environment), other->facts.cleanup);
    for (const Operation& operation : service().operations()) {
      SCOPED_TRACE(operation.name);
      Outs outs;
      EXPECT_EQ(operation.call(handle.get(), outs), -1);
      EXPECT_EQ(outs.state(), operation.withSessionOfAnotherService);
    }
  }
  EXPECT_EQ(cloud->count(), 0U);
  EXPECT_THAT(log.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Services, Arguments, testing::ValuesIn(allServices()), ServiceName());

}  // namespace
}  // namespace Behaviour
