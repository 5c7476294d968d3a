#include "any_service.h"
#include "loopback.h"
#include "support/scripted_transport.h"

namespace Behaviour {
namespace {

using CloudStorage::Http::TransportFailure;
using testing::AllOf;
using testing::HasSubstr;
using testing::SizeIs;
using testing::StartsWith;

/// Each operation of a service, in a new session.
class Failures : public AnyService {
 protected:
  void openAnew() {
    cloud = std::make_shared<Cloud>(service());
    handle = openAuthorized(cloud);
    requestsBefore = cloud->count();
    linesBefore = log.records().size();
    delaysBefore = fixture.delays().size();
  }
  std::size_t sends() const { return cloud->count() - requestsBefore; }
  std::size_t waits() const { return fixture.delays().size() - delaysBefore; }
  std::vector<TestSupport::LogRecord> newLines() const {
    const auto lines = log.records();
    return {lines.begin() + static_cast<std::ptrdiff_t>(linesBefore), lines.end()};
  }

  OpenSession handle{nullptr, service().facts.cleanup};
  std::size_t requestsBefore = 0;
  std::size_t linesBefore = 0;
  std::size_t delaysBefore = 0;
};

/// How the line begins that a failed operation logs in a new session.
std::string beginningOf(const Operation& operation) {
  return operation.preparationFailureText.value_or(operation.failureText.value_or(""));
}

TEST_P(Failures, OfTheRequestItselfAreLoggedWithTheErrorOfTheService) {
  const Failure failure = service().accessDenied().failure;
  for (const Operation& operation : service().operations()) {
    SCOPED_TRACE(operation.name);
    openAnew();
    cloud->deniesAccess = true;
    Outs outs;
    EXPECT_EQ(operation.call(handle.get(), outs), service().resultOf(failure));
    EXPECT_EQ(outs.state(), operation.afterFailure);
    EXPECT_EQ(newLines(), linesOf(operation, failure));
  }
}

TEST_P(Failures, LeaveTheOutsAsTheyAreDuringTheRequest) {
  for (const Operation& operation : service().operations()) {
    SCOPED_TRACE(operation.name);
    openAnew();
    Outs outs;
    cloud->onRequest = [&] { EXPECT_EQ(outs.state(), operation.afterFailure); };
    EXPECT_EQ(operation.call(handle.get(), outs), 0);
    EXPECT_GT(sends(), 0U);
  }
}

TEST_P(Failures, HostThatCannotBeReached) {
  Failure failure;
  failure.type = 2;
  failure.name = "CURLE_COULDNT_CONNECT";
  failure.message = "Nobody is there.";
  for (const Operation& operation : service().operations()) {
    SCOPED_TRACE(operation.name);
    openAnew();
    cloud->responseToAll = TestSupport::failedResponse(TransportFailure::Kind::Unreachable,
                                                       failure.name, failure.message, false);
    Outs outs;
    EXPECT_EQ(operation.call(handle.get(), outs), service().resultOf(failure));
    EXPECT_EQ(outs.state(), operation.afterFailure);
    EXPECT_EQ(newLines(), firstLinesOf(operation, failure));
    EXPECT_EQ(sends(), service().facts.attemptsIfUnreachable);
    EXPECT_EQ(waits(), sends() - 1);
  }
}

TEST_P(Failures, PortThatRefusesConnections) {
  const TestSupport::RefusingPort port;
  for (const Operation& operation : service().operations()) {
    SCOPED_TRACE(operation.name);
    openAnew();
    const auto alone = open(std::make_shared<Detour>(port.number()));
    Outs outs;
    EXPECT_GT(operation.call(alone.get(), outs), 0);
    EXPECT_EQ(outs.state(), operation.afterFailure);
    if (!operation.failureText) {
      EXPECT_THAT(newLines(), SizeIs(0));
      continue;
    }
    ASSERT_THAT(newLines(), SizeIs(1));
    EXPECT_THAT(newLines()[0].text, AllOf(StartsWith(beginningOf(operation)), HasSubstr("onnect")));
  }
}

TEST_P(Failures, WebPageOfAGatewayInPlaceOfAResponse) {
  Failure failure;
  failure.type = 1;
  for (const Operation& operation : service().operations()) {
    SCOPED_TRACE(operation.name);
    openAnew();
    cloud->responseToAll = TestSupport::response(200, "<html><body>Please log in.</body></html>",
                                                 {{"content-type", "text/html"}});
    Outs outs;
    EXPECT_EQ(operation.call(handle.get(), outs), service().resultOf(failure));
    EXPECT_EQ(outs.state(), operation.afterFailure);
    EXPECT_EQ(sends(), 1U) << "a retry cannot succeed";
    if (!operation.failureText) {
      EXPECT_THAT(newLines(), SizeIs(0));
      continue;
    }
    ASSERT_THAT(newLines(), SizeIs(1));
    EXPECT_EQ(newLines()[0].severity, google::GLOG_ERROR);
    EXPECT_THAT(newLines()[0].text,
                AllOf(StartsWith(beginningOf(operation)), HasSubstr("The answer ")));
  }
}

TEST_P(Failures, DoNotOutlastTheirCause) {
  for (const Operation& operation : service().operations()) {
    SCOPED_TRACE(operation.name);
    openAnew();
    cloud->responseToAll = TestSupport::response(200, "<html/>");
    Outs failed;
    EXPECT_GT(operation.call(handle.get(), failed), 0);
    cloud->responseToAll.reset();
    Outs outs;
    EXPECT_EQ(operation.call(handle.get(), outs), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Services, Failures, testing::ValuesIn(allServices()), ServiceName());

}  // namespace
}  // namespace Behaviour
