#include "any_service.h"

namespace Behaviour {
namespace {

using testing::IsEmpty;

/// Of the services whose access tokens expire.
using Tokens = AnyService;

TEST_P(Tokens, ExpiredOneIsRenewedDuringTheCall) {
  for (const Operation& operation : service().operations()) {
    SCOPED_TRACE(operation.name);
    const auto handle = openAuthorized();
    const auto requestsBefore = cloud->count(Subject::Tokens);
    const auto delaysBefore = fixture.delays().size();
    cloud->expireToken();
    Outs outs;
    EXPECT_EQ(operation.call(handle.get(), outs), 0);
    EXPECT_EQ(outs.state(), Outs::State::Filled);
    EXPECT_EQ(cloud->count(Subject::Tokens) - requestsBefore, 1U);
    EXPECT_EQ(fixture.delays().size() - delaysBefore, 1U);
  }
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(Tokens, OneThatExpiresBetweenPagesLosesNone) {
  cloud->pageLength = 2;
  cloud->addFolders(5);
  const auto handle = openAuthorized();
  cloud->lastPageOfToken = 2;
  Outs outs;
  EXPECT_EQ(service().listing().call(handle.get(), outs), 0);
  EXPECT_EQ(outs.folders.folders(), cloud->folders());
  EXPECT_EQ(cloud->count(Subject::Tokens), 2U);
  EXPECT_EQ(cloud->count(Subject::Page), 4U) << "three pages, one of them twice";
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(Tokens, RenewalThatIsRefusedFailsTheCall) {
  const auto refused = TestSupport::errorLine("Failed to refresh OAuth2 credential. invalid_grant");
  const Failure failure = service().tokenExpired().failure;
  std::vector<TestSupport::LogRecord> lines;
  for (const Operation& operation : service().operations()) {
    SCOPED_TRACE(operation.name);
    cloud->refusesNewTokens = false;
    const auto handle = openAuthorized();
    const auto requestsBefore = cloud->count(Subject::Tokens);
    cloud->expireToken();
    cloud->refusesNewTokens = true;
    Outs outs;
    EXPECT_EQ(operation.call(handle.get(), outs), service().resultOf(failure));
    EXPECT_EQ(outs.state(), operation.afterFailure);
    EXPECT_EQ(cloud->count(Subject::Tokens) - requestsBefore, 1U)
        << "later attempts reuse the refusal";
    lines.insert(lines.end(), 3, refused);
    const auto last = firstLinesOf(operation, failure);
    lines.insert(lines.end(), last.begin(), last.end());
    EXPECT_EQ(log.records(), lines);
  }
}

TEST_P(Tokens, AreRequired) {
  const auto handle = open(cloud);
  const Operation operation = service().listing();
  const Failure failure = service().tokenExpired().failure;
  Outs outs;
  EXPECT_EQ(operation.call(handle.get(), outs), service().resultOf(failure));
  EXPECT_EQ(outs.state(), operation.afterFailure);
  EXPECT_EQ(cloud->count(Subject::Tokens), 0U);
  EXPECT_EQ(log.records().back(), firstLinesOf(operation, failure).back());
}

INSTANTIATE_TEST_SUITE_P(Services, Tokens,
                         testing::ValuesIn(servicesWith(&Service::Facts::usesTokens)),
                         ServiceName());

}  // namespace
}  // namespace Behaviour
