// What one call may use: its time and its requests.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Client/RunningCall.h"
#include "CloudStorage/Client/CallBudget.h"
#include "support/drives.h"
#include "support/s3_fixture.h"

namespace {

using namespace std::chrono_literals;
namespace Client = CloudStorage::Client;
namespace Http = CloudStorage::Http;
using Client::CallBudget;
using Client::CoreErrors;
using Client::RunningCall;
using std::chrono::milliseconds;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::AttemptFixture;
using TestSupport::failedResponse;
using TestSupport::response;
using Kind = Http::TransportFailure::Kind;

TEST(CallBudget, TimeRunsFromTheFirstQuestion) {
  CallBudget budget;
  const CallBudget::TimePoint begin(1000h);
  EXPECT_EQ(budget.timeLeft(begin), 10min);
  EXPECT_EQ(budget.timeLeft(begin + 9min), 1min);
  EXPECT_EQ(budget.timeLeft(begin + 10min - 1ms), 1ms);
  EXPECT_EQ(budget.timeLeft(begin + 10min), 0ms);
  EXPECT_EQ(budget.timeLeft(begin + 11min), 0ms);
}

void useRequests(CallBudget& budget, int count) {
  for (int i = 0; i < count; ++i) ASSERT_TRUE(budget.takeRequest()) << i;
}

TEST(CallBudget, HasAHundredThousandRequests) {
  CallBudget budget;
  useRequests(budget, 100'000);
  EXPECT_FALSE(budget.takeRequest());
  EXPECT_FALSE(budget.takeRequest());
}

/// A response that arrives after `time`.
TestSupport::ScriptedTransport::Responder after(AttemptFixture& fixture, milliseconds time,
                                                Http::Response response) {
  return [&fixture, time, response = std::move(response)](const auto&) {
    fixture.pass(time);
    return response;
  };
}

std::vector<milliseconds> limitsOf(const std::vector<Http::Request>& requests) {
  std::vector<milliseconds> limits;
  for (const auto& request : requests) limits.push_back(request.timeLimit);
  return limits;
}

void expectTimeIsOver(const Client::Error& error, CoreErrors type) {
  EXPECT_EQ(error.errorType, type);
  EXPECT_EQ(error.exceptionName, "CallTimeout");
  EXPECT_EQ(error.message, "The call has not ended within 10 minutes");
  EXPECT_EQ(error.httpResponseCode, 0);
}

constexpr char kPage[] = "<ListBucketResult/>";

class S3CallBudget : public testing::Test, protected TestSupport::S3Fixture {
 protected:
  auto list(CallBudget* budget = nullptr) {
    Client::S3::Model::ListObjectsV2Request request;
    request.bucket = "vemlo-data";
    request.budget = budget;
    return client->listObjectsV2(request);
  }

  std::shared_ptr<Client::S3::S3Client> client = makeClient("");
};

TEST_F(S3CallBudget, EachAttemptGetsTheTimeThatIsLeft) {
  enqueue(after(*this, 4min, response(503)));
  enqueue(after(*this, 4min, response(503)));
  enqueue(after(*this, 1min, response(200, kPage)));
  EXPECT_TRUE(list().isSuccess());
  EXPECT_THAT(limitsOf(requests()), ElementsAre(10min, 6min - 1s, 2min - 3s));
}

TEST_F(S3CallBudget, CallWhoseTimeIsOverEndsWithoutAnotherAttempt) {
  enqueue(after(*this, 5min, response(503)));
  enqueue(after(*this, 5min, response(503)));
  enqueue(response(200, kPage));
  const auto outcome = list();
  ASSERT_FALSE(outcome.isSuccess());
  expectTimeIsOver(outcome.getError(), CoreErrors::Timeout);
  EXPECT_THAT(requests(), SizeIs(2));
  EXPECT_THAT(strategy->calls(), ElementsAre(Pair(503, 0)));
  EXPECT_THAT(delays(), ElementsAre(1000));
}

TEST_F(S3CallBudget, TransferThatUsesTheWholeTimeEndsTheCall) {
  enqueue([this](const Http::Request& request) {
    pass(request.timeLimit);
    return failedResponse(Kind::Timeout, "CURLE_OPERATION_TIMEDOUT", "after some bytes", true);
  });
  const auto outcome = list();
  ASSERT_FALSE(outcome.isSuccess());
  expectTimeIsOver(outcome.getError(), CoreErrors::Timeout);
  EXPECT_THAT(strategy->calls(), IsEmpty());
}

TEST_F(S3CallBudget, DelayThatDoesNotFitEndsTheCallAtOnce) {
  enqueue(after(*this, 10min - 1s, response(503)));
  const auto begin = now();
  const auto outcome = list();
  ASSERT_FALSE(outcome.isSuccess());
  expectTimeIsOver(outcome.getError(), CoreErrors::Timeout);
  EXPECT_THAT(delays(), IsEmpty());
  EXPECT_EQ(now() - begin, 10min - 1s);
}

TEST_F(S3CallBudget, FailureThatIsNotRetriedKeepsItsError) {
  enqueue(after(*this, 10min - 1ms, response(404, TestSupport::s3Error("NoSuchBucket"))));
  EXPECT_EQ(list().getError().exceptionName, "NoSuchBucket");
}

TEST_F(S3CallBudget, RequestsOfOneCallShareTheTime) {
  CallBudget budget;
  enqueue(after(*this, 6min, response(200, kPage)));
  enqueue(after(*this, 4min, response(200, kPage)));
  EXPECT_TRUE(list(&budget).isSuccess());
  EXPECT_TRUE(list(&budget).isSuccess());
  EXPECT_THAT(limitsOf(requests()), ElementsAre(10min, 4min));

  expectTimeIsOver(list(&budget).getError(), CoreErrors::Timeout);
  EXPECT_THAT(requests(), SizeIs(2));
}

TEST_F(S3CallBudget, RequestWithoutABudgetIsACallOfItsOwn) {
  for (int i = 0; i < 3; ++i) {
    enqueue(after(*this, 9min, response(200, kPage)));
    EXPECT_TRUE(list().isSuccess());
  }
  EXPECT_THAT(limitsOf(requests()), ElementsAre(10min, 10min, 10min));
}

TEST_F(S3CallBudget, CallThatNeedsTooManyRequestsFails) {
  CallBudget budget;
  useRequests(budget, 99'999);
  enqueue(response(200, kPage));
  enqueue(response(200, kPage));
  EXPECT_TRUE(list(&budget).isSuccess());
  const auto outcome = list(&budget);
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().errorType, CoreErrors::LocalFailure);
  EXPECT_EQ(outcome.getError().exceptionName, "MalformedResponse");
  EXPECT_EQ(outcome.getError().message, "The call has not ended with its 100000 requests");
  EXPECT_FALSE(outcome.getError().retryable);
  EXPECT_THAT(requests(), SizeIs(1));
  EXPECT_THAT(delays(), IsEmpty());
}

// Without the region in the response, the client asks for it with a request of its own.
TEST_F(S3CallBudget, RequestForTheRegionCounts) {
  CallBudget budget;
  useRequests(budget, 99'998);
  enqueue(after(*this, 3min, response(301, TestSupport::s3Error("PermanentRedirect"))));
  enqueue(response(200, "", {{"x-amz-bucket-region", "eu-west-1"}}));
  enqueue(response(200, kPage));
  EXPECT_EQ(list(&budget).getError().exceptionName, "MalformedResponse");
  ASSERT_THAT(requests(), SizeIs(2));
  EXPECT_EQ(requests()[1].method, Http::Method::Head);
  EXPECT_THAT(limitsOf(requests()), ElementsAre(10min, 7min));
}

/// How a drive lists a folder.
auto list(const Client::AmazonDrive::AmazonDriveClient& client) {
  Client::AmazonDrive::Model::ListFileResourceRequest request;
  request.endpoint = TestSupport::kMetadataEndpoint;
  return client.listFileResource(request);
}
auto list(const Client::Dropbox::DropboxClient& client) {
  Client::Dropbox::Model::ListFolderRequest request;
  request.path = "";
  return client.listFolder(request);
}
auto list(const Client::GoogleDrive::GoogleDriveClient& client) {
  return client.listFileResource({});
}
auto list(const Client::OneDrive::OneDriveClient& client) {
  Client::OneDrive::Model::ListChildrenRequest request;
  request.itemId = "root";
  return client.listChildren(request);
}

// Of any drive.
constexpr char kEmptyList[] = R"({"value":[],"entries":[]})";

template <typename Drive>
class DriveCallBudget : public testing::Test, protected TestSupport::DriveFixture<Drive> {
 protected:
  static constexpr CoreErrors kTimeout =
      Drive::kRetriesTemporaryFailures ? CoreErrors::TemporaryFailure : CoreErrors::Timeout;

  std::shared_ptr<typename Drive::Client> client = this->makeClient();
};

TYPED_TEST_SUITE(DriveCallBudget, TestSupport::Drives, TestSupport::DriveName);

TYPED_TEST(DriveCallBudget, RefreshGetsTheTimeThatIsLeft) {
  this->enqueue(after(*this, 10min - 5s, response(401)));
  this->enqueue(after(*this, 1s, response(200, R"({"access_token":"new"})")));
  this->enqueue(response(200, kEmptyList));
  EXPECT_TRUE(list(*this->client).isSuccess());
  EXPECT_THAT(limitsOf(this->requests()), ElementsAre(10min, 5s, 3s));
}

TYPED_TEST(DriveCallBudget, RefreshThatUsesTheTimeEndsTheCall) {
  this->enqueue(after(*this, 10min - 5s, response(401)));
  this->enqueue(after(*this, 5s, response(200, R"({"access_token":"new"})")));
  expectTimeIsOver(list(*this->client).getError(), this->kTimeout);
  EXPECT_THAT(this->requests(), SizeIs(2));
  EXPECT_THAT(this->delays(), IsEmpty());
}

TYPED_TEST(DriveCallBudget, RefreshBeforeTheFirstRequestCountsAsWell) {
  this->credential->setTokens("", "refresh-1");
  this->enqueue(after(*this, 50s, response(200, R"({"access_token":"new"})")));
  this->enqueue(response(200, kEmptyList));
  EXPECT_TRUE(list(*this->client).isSuccess());
  EXPECT_THAT(limitsOf(this->requests()), ElementsAre(1min, 10min - 50s));
}

TYPED_TEST(DriveCallBudget, CallEndsAfterTenMinutes) {
  this->enqueue(after(*this, 10min, response(503)));
  expectTimeIsOver(list(*this->client).getError(), this->kTimeout);
  EXPECT_THAT(this->requests(), SizeIs(1));
  EXPECT_THAT(this->strategy->calls(), IsEmpty());
}

using DropboxCallBudget = DriveCallBudget<TestSupport::Dropbox>;

TEST_F(DropboxCallBudget, PagesOfAFolderShareTheTime) {
  const auto page = [](const std::string& cursor) {
    return response(200, R"({"entries":[],"has_more":true,"cursor":")" + cursor + R"("})");
  };
  enqueue(after(*this, 6min, page("a")));
  enqueue(after(*this, 3min, page("b")));
  enqueue(after(*this, 1min, page("c")));
  expectTimeIsOver(list(*client).getError(), CoreErrors::Timeout);
  EXPECT_THAT(limitsOf(requests()), ElementsAre(10min, 4min, 1min));
}

TEST_F(DropboxCallBudget, PagesOfAFolderShareTheBudgetOfTheHostsCall) {
  CallBudget budget;
  useRequests(budget, 99'999);
  Client::Dropbox::Model::ListFolderRequest request;
  request.path = "";
  request.budget = &budget;
  enqueue(
      response(200, R"({"cursor":"c","has_more":true,"entries":[{"id":"1","path_lower":"/1"}]})"));
  EXPECT_EQ(client->listFolder(request).getError().exceptionName, "MalformedResponse");
  EXPECT_THAT(requests(), SizeIs(1));
}

using GoogleDriveCallBudget = DriveCallBudget<TestSupport::GoogleDrive>;

TEST_F(GoogleDriveCallBudget, WaitForAnotherRefreshEndsWithTheCall) {
  std::promise<void> isSent;
  std::promise<void> isAnswered;
  enqueue([&](const auto&) {
    isSent.set_value();
    isAnswered.get_future().wait();
    return response(200, R"({"access_token":"new"})");
  });
  std::thread other([&] { EXPECT_TRUE(credential->refreshAccessToken().isSuccess()); });
  isSent.get_future().wait();
  {
    CallBudget budget;
    budget.timeLeft(steadyNow());
    pass(10min - 1ms);
    const RunningCall::Clock clock = [this] { return steadyNow(); };
    const RunningCall call(budget, clock, Client::Service::S3);
    const auto status = credential->refreshAccessToken();
    EXPECT_EQ(status.getCode(), -1);
    EXPECT_EQ(status.toString(), "Another refresh has not ended in time.");
  }
  isAnswered.set_value();
  other.join();
  EXPECT_THAT(requests(), SizeIs(1));
  EXPECT_EQ(credential->accessToken(), "new");
}

TEST_F(GoogleDriveCallBudget, TokenRequestOutsideOfACallHasAMinute) {
  enqueue(failedResponse(Kind::Timeout, "CURLE_OPERATION_TIMEDOUT", "no connection", false));
  enqueue(response(200, R"({"access_token":"new"})"));
  EXPECT_TRUE(credential->refreshAccessToken().isSuccess());
  const auto limits = limitsOf(requests());
  ASSERT_THAT(limits, SizeIs(2));
  EXPECT_EQ(limits[0], 1min);
  EXPECT_LE(limits[1], 1min) << "both attempts share it";
}

}  // namespace
