#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Client/ServiceCall.h"
#include "CloudStorage/Client/S3/S3Client.h"
#include "support/recording_strategy.h"
#include "support/service_call_fixture.h"

namespace {

namespace Http = CloudStorage::Http;
using CloudStorage::Client::ClientEnvironment;
using CloudStorage::Client::ClientParts;
using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Client::RetryStrategy;
using CloudStorage::Client::ServiceCall;
using CloudStorage::Util::RateLimiter;
using ::testing::AllOf;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;
using ::testing::Key;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::failedResponse;
using TestSupport::Model;
using TestSupport::parseLines;
using TestSupport::RecordingPolicy;
using TestSupport::RecordingStrategy;
using TestSupport::response;

/// Repeats whatever happens, at once.
class StubbornStrategy : public RetryStrategy {
 public:
  bool shouldRetry(const Error&, unsigned long attemptedRetries) const override {
    return attemptedRetries < 3;
  }
  long getDelayBeforeNextRetry(const Error&, unsigned long) const override { return 0; }
};

using ServiceCallTest = TestSupport::ServiceCallFixture;
using ServiceCallLoop = ServiceCallTest;

TEST_F(ServiceCallLoop, GivesUpAfterFourSendsAndGrowingDelays) {
  for (int code : {500, 502, 503, 504}) enqueue(response(code));
  const auto outcome = send();
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().httpResponseCode, 504) << "the last failure counts";
  EXPECT_THAT(requests(), SizeIs(4));
  EXPECT_THAT(delays(), ElementsAre(1000, 2000, 3000));
  EXPECT_THAT(strategy->calls(),
              ElementsAre(Pair(500, 0), Pair(502, 1), Pair(503, 2), Pair(504, 3)));
}

TEST_F(ServiceCallLoop, SucceedsOnTheThirdSend) {
  enqueue(response(503));
  enqueue(response(503));
  enqueue(response(200, "one\ntwo\n"));
  const auto outcome = send();
  ASSERT_TRUE(outcome.isSuccess());
  EXPECT_THAT(outcome.getResult(), ElementsAre("one", "two"));
  EXPECT_THAT(delays(), ElementsAre(1000, 2000));
  EXPECT_THAT(strategy->calls(), ElementsAre(Pair(503, 0), Pair(503, 1)));
}

TEST_F(ServiceCallLoop, StrategyIsNotCalledForASuccess) {
  for (int code : {200, 201, 204, 299}) {
    enqueue(response(code));
    EXPECT_TRUE(send().isSuccess()) << code;
  }
  EXPECT_THAT(strategy->calls(), IsEmpty());
  EXPECT_EQ(policy.offered, 0);
}

TEST_F(ServiceCallLoop, RefusalIsNotRepeated) {
  for (int code : {199, 301, 400, 401, 403, 404, 409, 429, 499}) {
    enqueue(response(code));
    const auto outcome = send();
    ASSERT_FALSE(outcome.isSuccess());
    EXPECT_EQ(outcome.getError().httpResponseCode, code);
  }
  EXPECT_THAT(requests(), SizeIs(9));
  EXPECT_THAT(strategy->calls(), SizeIs(9));
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(ServiceCallLoop, TransportFailureIsNotRepeatedForAnObjectStore) {
  using Kind = Http::TransportFailure::Kind;
  for (Kind kind : {Kind::Unreachable, Kind::Timeout, Kind::Untrusted, Kind::Interrupted,
                    Kind::ResponseTooLarge, Kind::Refused}) {
    enqueue(failedResponse(kind, "CURLE_SOMETHING", "it broke", false));
    const auto outcome = send();
    ASSERT_FALSE(outcome.isSuccess());
    EXPECT_EQ(outcome.getError().exceptionName, "CURLE_SOMETHING");
    EXPECT_EQ(outcome.getError().httpResponseCode, 0);
  }
  EXPECT_THAT(requests(), SizeIs(6));
  EXPECT_THAT(strategy->calls(), SizeIs(6));
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(ServiceCallLoop, FailureOverridesAStatusOfSuccess) {
  auto response = TestSupport::response(200, "one\n");
  response.failure = {Http::TransportFailure::Kind::Interrupted, "CURLE_PARTIAL_FILE", "cut", true};
  enqueue(response);
  EXPECT_FALSE(send().isSuccess());
}

TEST_F(ServiceCallLoop, ErrorOfAParserHasStatusAndHeaders) {
  enqueue(response(203, "one\n!\n", {{"x-amz-request-id", "7"}}));
  const auto outcome = send();
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().errorType, CoreErrors::LocalFailure);
  EXPECT_EQ(outcome.getError().exceptionName, "MalformedResponse");
  EXPECT_EQ(outcome.getError().httpResponseCode, 203);
  EXPECT_THAT(outcome.getError().responseHeaders, ElementsAre(Pair("x-amz-request-id", "7")));
  EXPECT_THAT(strategy->calls(), ElementsAre(Pair(203, 0)));
}

TEST_F(ServiceCallLoop, NothingOfARefusedResponseIsInTheResult) {
  strategy = std::make_shared<RecordingStrategy>(std::make_shared<StubbornStrategy>());
  enqueue(response(200, "one\ntwo\n!\n"));
  enqueue(response(200, "one\ntwo\nthree\n"));
  EXPECT_THAT(send().getResult(), ElementsAre("one", "two", "three"));
}

using ServiceCallRequest = ServiceCallTest;

TEST_F(ServiceCallRequest, IsAuthorizedAnewForEachAttempt) {
  enqueue(response(503));
  enqueue(response(503));
  enqueue(response(200));
  EXPECT_TRUE(send().isSuccess());
  EXPECT_THAT(headersSent("authorization"), ElementsAre("attempt 1", "attempt 2", "attempt 3"));
}

TEST_F(ServiceCallRequest, WithoutNeedOfAuthorizationGetsNone) {
  model.authorized = false;
  enqueue(response(503));
  enqueue(response(200));
  EXPECT_TRUE(send().isSuccess());
  EXPECT_THAT(headersSent("authorization"), ElementsAre("(none)", "(none)"));
  EXPECT_EQ(policy.authorized, 0);
}

TEST_F(ServiceCallRequest, CarriesMethodAddressParametersAndHeaders) {
  model.parameter = "a b/";
  model.headers = {{"x-amz-acl", "private"}};
  model.contentType = "text/plain";
  enqueue(response(200));
  EXPECT_TRUE(send(Http::Method::Post).isSuccess());
  ASSERT_THAT(requests(), SizeIs(1));
  const auto request = requests()[0];
  EXPECT_EQ(request.method, Http::Method::Post);
  EXPECT_EQ(request.uri.toString(), "https://host/path?parameter=a%20b%2F");
  EXPECT_THAT(request.headers,
              ElementsAre(Pair("authorization", "attempt 1"), Pair("content-type", "text/plain"),
                          Pair("x-amz-acl", "private")));
}

TEST_F(ServiceCallRequest, HasNoHeaderWithoutAValue) {
  model.headers = {{"x-amz-acl", ""}};
  enqueue(response(200));
  EXPECT_TRUE(send().isSuccess());
  EXPECT_THAT(requests()[0].headers, ElementsAre(Key("authorization")));
}

TEST_F(ServiceCallRequest, BodyIsTheSameInEveryAttempt) {
  const std::string body("first line\nsecond\0line", 22);
  model.setBody(body);
  for (int i = 0; i < 3; ++i) enqueue(response(503));
  enqueue(response(200));
  EXPECT_TRUE(send(Http::Method::Put).isSuccess());
  ASSERT_THAT(requests(), SizeIs(4));
  EXPECT_THAT(requests(), Each(Field(&Http::Request::body, body)));
}

TEST_F(ServiceCallRequest, BodyIsReadFromItsBeginningWhateverWasReadBefore) {
  model.setBody("the whole body");
  std::string rest;
  std::getline(*model.body, rest, '\n');
  ASSERT_TRUE(model.body->eof());
  enqueue(response(200));
  EXPECT_TRUE(send(Http::Method::Put).isSuccess());
  model.body->setstate(std::ios::failbit);
  enqueue(response(200));
  EXPECT_TRUE(send(Http::Method::Put).isSuccess());
  EXPECT_THAT(requests(), Each(Field(&Http::Request::body, "the whole body")));
}

TEST_F(ServiceCallRequest, HasADigestOfItsBodyIfRequired) {
  model.withMd5 = true;
  enqueue(response(200));
  EXPECT_TRUE(send(Http::Method::Put).isSuccess());
  model.setBody("abc");
  enqueue(response(200));
  EXPECT_TRUE(send(Http::Method::Put).isSuccess());
  model.withMd5 = false;
  enqueue(response(200));
  EXPECT_TRUE(send(Http::Method::Put).isSuccess());
  // Of nothing, of "abc" (RFC 1321, appendix A.5), and none.
  EXPECT_THAT(headersSent("content-md5"),
              ElementsAre("1B2M2Y8AsgTpgAmY7PhCfg==", "kAFQmDzST7DWlj99KOF/cg==", "(none)"));
}

using ServiceCallRedirect = ServiceCallTest;

TEST_F(ServiceCallRedirect, IsFollowedWithTheSameMethodBodyAndHeaders) {
  model.setBody("body");
  model.contentType = "text/plain";
  enqueue(response(307, "", {{"location", "https://other/place?rk=1"}}));
  enqueue(response(503));
  enqueue(response(200));
  EXPECT_TRUE(send(Http::Method::Put).isSuccess());
  ASSERT_THAT(requests(), SizeIs(3));
  EXPECT_EQ(requests()[1].uri.toString(), "https://other/place?rk=1");
  EXPECT_EQ(requests()[2].uri.toString(), "https://other/place?rk=1") << "for the rest of the call";
  EXPECT_THAT(requests(), Each(AllOf(Field(&Http::Request::body, "body"),
                                     Field(&Http::Request::method, Http::Method::Put))));
  EXPECT_THAT(headersSent("content-type"), Each("text/plain"));
  EXPECT_THAT(headersSent("authorization"), ElementsAre("attempt 1", "attempt 2", "attempt 3"));
  EXPECT_THAT(delays(), ElementsAre(1000, 2000));
}

TEST_F(ServiceCallRedirect, IsTheFailureIfItMustNotBeFollowed) {
  enqueue(response(307, "", {{"location", "no address"}}));
  const auto outcome = send();
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().httpResponseCode, 307);
  EXPECT_THAT(policy.locations, ElementsAre("no address"));
  EXPECT_THAT(requests(), SizeIs(1));
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(ServiceCallRedirect, HappensThreeTimesAtMost) {
  for (const char* location : {"https://h/1", "https://h/2", "https://h/3", "https://h/4"}) {
    enqueue(response(301, "", {{"location", location}}));
  }
  EXPECT_EQ(send().getError().httpResponseCode, 301);
  EXPECT_THAT(policy.locations, ElementsAre("https://h/1", "https://h/2", "https://h/3"));
  EXPECT_THAT(requests(), SizeIs(4));
}

TEST_F(ServiceCallRedirect, LocationOfOtherResponsesIsIgnored) {
  enqueue(response(503, "", {{"location", "https://other/"}}));
  enqueue(response(201, "", {{"location", "https://other/"}}));
  EXPECT_TRUE(send().isSuccess());
  EXPECT_THAT(policy.locations, IsEmpty());
  EXPECT_EQ(requests()[1].uri.host(), "host");
}

using ServiceCallRecovery = ServiceCallTest;

TEST_F(ServiceCallRecovery, IsPartOfTheSameAttempt) {
  policy.onRecover = [](const Http::Response& response, Http::Request& request) {
    request.uri.setHost("mended");
    return response.status == 400;
  };
  enqueue(response(400));
  enqueue(response(503));
  enqueue(response(200));
  EXPECT_TRUE(send().isSuccess());
  EXPECT_THAT(strategy->calls(), ElementsAre(Pair(503, 0)));
  EXPECT_THAT(delays(), ElementsAre(1000));
  EXPECT_THAT(headersSent("authorization"), ElementsAre("attempt 1", "attempt 2", "attempt 3"));
  EXPECT_EQ(requests()[0].uri.host(), "host");
  EXPECT_EQ(requests()[1].uri.host(), "mended");
  EXPECT_EQ(requests()[2].uri.host(), "mended");
}

TEST_F(ServiceCallRecovery, EndsEvenIfThePolicyWouldGoOn) {
  policy.onRecover = [](const auto&, auto&) { return true; };
  for (int i = 0; i < 4; ++i) enqueue(response(400));
  EXPECT_EQ(send().getError().httpResponseCode, 400);
  EXPECT_THAT(requests(), SizeIs(4));
  EXPECT_THAT(strategy->calls(), ElementsAre(Pair(400, 0)));
}

TEST_F(ServiceCallRecovery, LeavesTheFailureToTheStrategyIfThereIsNone) {
  enqueue(response(503));
  enqueue(response(404));
  EXPECT_EQ(send().getError().httpResponseCode, 404);
  EXPECT_EQ(policy.offered, 2);
  EXPECT_THAT(strategy->calls(), ElementsAre(Pair(503, 0), Pair(404, 1)));
}

class NotingLimiter : public RateLimiter {
 public:
  NotingLimiter(std::vector<std::string>& notes, std::string name)
      : notes_(notes), name_(std::move(name)) {}
  void acquire(std::uint64_t bytes) override {
    notes_.push_back(name_ + ' ' + std::to_string(bytes));
  }

 private:
  std::vector<std::string>& notes_;
  std::string name_;
};

TEST_F(ServiceCallTest, LimitersAreCalledBeforeSendingAndAfterReceiving) {
  std::vector<std::string> notes;
  readLimiter = std::make_shared<NotingLimiter>(notes, "read");
  writeLimiter = std::make_shared<NotingLimiter>(notes, "write");
  model.setBody("12345");
  enqueue([&notes](const Http::Request&) {
    notes.push_back("send");
    return response(503, "busy");
  });
  enqueue(response(200, "one\n"));
  EXPECT_TRUE(send(Http::Method::Put).isSuccess());
  EXPECT_THAT(notes, ElementsAre("write 5", "send", "read 4", "write 5", "read 4"));
}

TEST(ServiceCall, HasTheRealClockAndSleepUnlessGivenOthers) {
  const auto transport = std::make_shared<TestSupport::ScriptedTransport>();
  transport->enqueue(response(503));
  transport->enqueue(response(200));
  ClientParts parts;
  parts.retryStrategy = std::make_shared<StubbornStrategy>();  // whose delays are none
  parts.errorMarshaller = std::make_shared<CloudStorage::Client::S3::S3ErrorMarshaller>();
  ClientEnvironment environment;
  environment.transport = transport;
  const ServiceCall call(parts, environment);

  const auto difference = call.now() - std::chrono::system_clock::now();
  EXPECT_LT(std::chrono::abs(difference), std::chrono::hours(1));
  RecordingPolicy policy;
  EXPECT_TRUE(call.send(
                      {"send", Http::Method::Get},
                      [] { return Http::URI::parse("https://host/").value(); }, Model(), policy,
                      parseLines)
                  .isSuccess());
}

}  // namespace
