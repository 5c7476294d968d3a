#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <time.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Client/DriveCall.h"
#include "Client/ServiceCall.h"
#include "CloudStorage/Client/SerializableWSRequest.h"
#include "support/drives.h"
#include "support/log_capture.h"

namespace {

namespace Client = CloudStorage::Client;
namespace Http = CloudStorage::Http;
using Client::BearerPolicy;
using Client::Error;
using CloudStorage::Util::Outcome;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using TestSupport::errorLine;
using TestSupport::LogRecord;
using TestSupport::response;

/// A drive service and its token endpoint. Accepts one access token; the endpoint issues the tokens
/// "new-1", "new-2" and so on. Safe for concurrent calls.
class DriveService : public Http::Transport {
 public:
  Http::Response send(const Http::Request& request) override {
    std::unique_lock<std::mutex> lock(mutex_);
    if (request.uri.host() == "login.example.test") {
      tokenRequests_.push_back(request);
      return tokenResponse ? *tokenResponse : newTokens();
    }
    const auto header = request.headers.find("authorization");
    const std::string bearer = header == request.headers.end() ? "" : header->second;
    bearers_.push_back(bearer);
    hosts_.push_back(request.uri.host());
    waitForAll(lock);
    if (apiResponse) return *apiResponse;
    return bearer == "Bearer " + acceptedToken ? response(200, acceptedBody) : response(401);
  }

  std::vector<std::string> bearers() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return bearers_;
  }
  std::vector<std::string> hosts() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return hosts_;
  }
  std::vector<Http::Request> tokenRequests() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return tokenRequests_;
  }

  // To be set before the first call.
  std::string acceptedToken = "new-1";
  std::string acceptedBody;
  std::string nextRefreshToken;
  std::optional<Http::Response> tokenResponse;
  std::optional<Http::Response> apiResponse;
  std::size_t gate = 0;  ///< so many requests get no response until all of them have arrived

 private:
  Http::Response newTokens() const {
    const std::string token = "new-" + std::to_string(tokenRequests_.size());
    return response(200, R"({"access_token":")" + token + R"(","refresh_token":")" +
                             nextRefreshToken + R"(","token_type":"bearer"})");
  }

  void waitForAll(std::unique_lock<std::mutex>& lock) {
    if (bearers_.size() == gate) allArrived_.notify_all();
    allArrived_.wait(lock, [this] { return bearers_.size() >= gate; });
  }

  mutable std::mutex mutex_;
  std::condition_variable allArrived_;
  std::vector<std::string> bearers_;
  std::vector<std::string> hosts_;
  std::vector<Http::Request> tokenRequests_;
};

class EmptyRequest : public Client::SerializableWSRequest {
 public:
  std::string serializePayload() const override { return {}; }
};

struct Nothing {};

Outcome<Nothing, Error> parseNothing(Http::Response&&) { return Nothing(); }

/// A session's client and one operation of the test.
template <typename Drive>
class DriveRefresh : public ::testing::Test, protected TestSupport::DriveFixture<Drive> {
 protected:
  DriveRefresh() {
    this->credential->setTokens("old", "refresh token");
    environment.transport = service;
    client =
        std::make_shared<typename Drive::Client>(this->makeSpec(), this->makeParts(), environment);
  }

  // One call; safe for concurrent calls.
  Outcome<Nothing, Error> call() const {
    BearerPolicy policy(this->credential);
    return Client::ServiceCall(this->makeParts(), environment)
        .send(
            {"get", Http::Method::Get},
            [] { return Http::URI::parse("https://drive.example.test/x").value(); }, EmptyRequest(),
            policy, parseNothing);
  }

  std::shared_ptr<DriveService> service = std::make_shared<DriveService>();
  Client::ClientEnvironment environment = TestSupport::DriveFixture<Drive>::environment();
  std::shared_ptr<typename Drive::Client> client;
};

TYPED_TEST_SUITE(DriveRefresh, TestSupport::Drives, TestSupport::DriveName);

TYPED_TEST(DriveRefresh, GoodTokenIsSentAndNotRefreshed) {
  this->service->acceptedToken = "old";
  EXPECT_TRUE(this->call().isSuccess());
  EXPECT_THAT(this->service->bearers(), ElementsAre("Bearer old"));
  EXPECT_THAT(this->service->tokenRequests(), IsEmpty());
}

TYPED_TEST(DriveRefresh, AttemptAfterARefreshCarriesTheNewToken) {
  EXPECT_TRUE(this->call().isSuccess());
  EXPECT_THAT(this->service->bearers(), ElementsAre("Bearer old", "Bearer new-1"));
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1));
  EXPECT_THAT(this->delays(), ElementsAre(1000));
  EXPECT_EQ(this->credential->accessToken(), "new-1");

  EXPECT_TRUE(this->call().isSuccess());
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1)) << "the next call refreshes nothing";
}

TYPED_TEST(DriveRefresh, RefreshSendsTheRefreshTokenAndNoBearer) {
  EXPECT_TRUE(this->call().isSuccess());
  ASSERT_THAT(this->service->tokenRequests(), SizeIs(1));
  const auto request = this->service->tokenRequests()[0];
  EXPECT_EQ(request.headers.count("authorization"), 0U);
  EXPECT_THAT(request.body, HasSubstr("refresh_token=refresh%20token"));
}

/// Sixteen threads at once; none gets a response before all have sent.
template <typename Drive>
class DriveRefreshInThreads : public DriveRefresh<Drive> {
 protected:
  static constexpr std::size_t kThreads = 16;

  DriveRefreshInThreads() {
    this->service->gate = kThreads;
    // The name of the default. Without it the C library reads the time zone anew for each line that
    // is logged, under a lock that ThreadSanitizer does not see.
    ::setenv("TZ", ":/etc/localtime", 0);
    ::tzset();
  }

  // The number of threads whose call succeeds.
  static std::size_t successesOf(const std::function<bool()>& call) {
    std::atomic<std::size_t> successes{0};
    std::vector<std::thread> threads;
    for (std::size_t number = 0; number < kThreads; ++number) {
      threads.emplace_back([&] { successes += call() ? 1U : 0U; });
    }
    for (auto& thread : threads) thread.join();
    return successes;
  }

  void expectOneRefresh() const {
    EXPECT_THAT(this->service->tokenRequests(), SizeIs(1));
    const auto bearers = this->service->bearers();
    EXPECT_THAT(bearers, SizeIs(2 * kThreads));
    EXPECT_EQ(std::count(bearers.begin(), bearers.end(), "Bearer old"), kThreads);
    EXPECT_EQ(std::count(bearers.begin(), bearers.end(), "Bearer new-1"), kThreads);
  }
};
TYPED_TEST_SUITE(DriveRefreshInThreads, TestSupport::Drives, TestSupport::DriveName);

TYPED_TEST(DriveRefreshInThreads, AllShareOneRefresh) {
  EXPECT_EQ(this->successesOf([this] { return this->call().isSuccess(); }), this->kThreads);
  this->expectOneRefresh();
}

TYPED_TEST(DriveRefreshInThreads, AllShareTheRefreshBeforeTheFirstRequest) {
  this->credential->setTokens("", "refresh token");
  EXPECT_EQ(this->successesOf([this] { return this->call().isSuccess(); }), this->kThreads);
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1));
  EXPECT_THAT(this->service->bearers(), SizeIs(this->kThreads));
  EXPECT_THAT(this->service->bearers(), Each("Bearer new-1"));
}

using GoogleDriveRefreshInThreads = DriveRefreshInThreads<TestSupport::GoogleDrive>;

TEST_F(GoogleDriveRefreshInThreads, CallsOfOneClientShareOneRefresh) {
  service->acceptedBody = R"({"id":"7"})";
  Client::GoogleDrive::Model::GetFileResourceRequest request;
  request.fileId = "root";
  const auto call = [&] {
    const auto outcome = client->getFileResource(request);
    return outcome.isSuccess() && outcome.getResult().id == "7";
  };
  EXPECT_EQ(successesOf(call), kThreads);
  expectOneRefresh();
}

TYPED_TEST(DriveRefreshInThreads, AllShareOneRefusal) {
  this->environment.sleep = [](auto) {};  // all delays together would be minutes
  this->service->tokenResponse = response(400, R"({"error":"invalid_grant"})");
  const TestSupport::LogCapture log;
  EXPECT_EQ(this->successesOf([this] { return this->call().isSuccess(); }), 0U);
  EXPECT_THAT(this->service->bearers(), SizeIs(4 * this->kThreads));
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1));
  EXPECT_THAT(log.records(), SizeIs(3 * this->kThreads));
}

TYPED_TEST(DriveRefresh, RefusedRefreshIsLoggedEachTimeButSentOnce) {
  this->service->tokenResponse =
      response(400, R"({"error":"invalid_grant","error_description":"revoked"})");
  const TestSupport::LogCapture log;
  const auto outcome = this->call();
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().httpResponseCode, 401);
  EXPECT_THAT(this->service->bearers(), SizeIs(4));
  EXPECT_THAT(this->service->bearers(), Each("Bearer old"));
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1));
  EXPECT_THAT(this->delays(), ElementsAre(1000, 2000, 3000));
  EXPECT_THAT(log.records(), SizeIs(3));
  EXPECT_THAT(log.records(),
              Each(errorLine("Failed to refresh OAuth2 credential. invalid_grant: revoked")));
  EXPECT_EQ(this->credential->refreshToken(), "refresh token");
}

TYPED_TEST(DriveRefresh, UnauthorizedFromTheTokenEndpointCausesNoRefresh) {
  this->service->tokenResponse = response(401, R"({"error":"invalid_client"})");
  const TestSupport::LogCapture log;
  EXPECT_FALSE(this->call().isSuccess());
  EXPECT_THAT(this->service->bearers(), SizeIs(4));
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1));
  EXPECT_THAT(log.records(),
              Each(errorLine("Failed to refresh OAuth2 credential. invalid_client")));
}

TYPED_TEST(DriveRefresh, HtmlPageOfAProxyIsAFailedRefresh) {
  this->service->tokenResponse =
      response(502, "<html>\r\nBad gateway</html>", {{"content-type", "text/html"}});
  const TestSupport::LogCapture log;
  EXPECT_FALSE(this->call().isSuccess());
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(3));
  EXPECT_THAT(log.records(), SizeIs(3));
  EXPECT_THAT(log.records(), Each(errorLine("Failed to refresh OAuth2 credential. HTTP 502")));
}

TYPED_TEST(DriveRefresh, NewTokensDiscardARememberedRefusal) {
  this->service->tokenResponse = response(400, R"({"error":"invalid_grant"})");
  {
    const TestSupport::LogCapture log;
    EXPECT_FALSE(this->call().isSuccess());
  }
  this->service->tokenResponse.reset();
  this->service->acceptedToken = "new-2";
  this->credential->setTokens("old", "another refresh token");
  EXPECT_TRUE(this->call().isSuccess());
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(2));
}

TYPED_TEST(DriveRefresh, RefusalExpiresByTheClientsClock) {
  this->service->tokenResponse = response(400, R"({"error":"invalid_grant"})");
  const TestSupport::LogCapture log;
  EXPECT_FALSE(this->call().isSuccess());  // waits for 6 seconds in all
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1));
  EXPECT_FALSE(this->call().isSuccess());
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(2));
}

TYPED_TEST(DriveRefresh, EachRefusedTokenIsRefreshed) {
  this->service->acceptedToken = "new-3";
  EXPECT_TRUE(this->call().isSuccess());
  EXPECT_THAT(this->service->bearers(),
              ElementsAre("Bearer old", "Bearer new-1", "Bearer new-2", "Bearer new-3"));
}

TYPED_TEST(DriveRefresh, TokensThatAreNeverAcceptedEndTheCallAfterFourSends) {
  this->service->acceptedToken = "none of them";
  EXPECT_EQ(this->call().getError().httpResponseCode, 401);
  EXPECT_THAT(this->service->bearers(), SizeIs(4));
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(3));
}

TYPED_TEST(DriveRefresh, NewRefreshTokenReplacesTheOldOne) {
  this->service->acceptedToken = "new-2";
  this->service->nextRefreshToken = "rotated";
  EXPECT_TRUE(this->call().isSuccess());
  ASSERT_THAT(this->service->tokenRequests(), SizeIs(2));
  EXPECT_THAT(this->service->tokenRequests()[0].body, HasSubstr("refresh_token=refresh%20token"));
  EXPECT_THAT(this->service->tokenRequests()[1].body, HasSubstr("refresh_token=rotated"));
}

TYPED_TEST(DriveRefresh, SessionWithARefreshTokenAloneGetsAnAccessToken) {
  this->credential->setTokens("", "refresh token");
  EXPECT_TRUE(this->call().isSuccess());
  EXPECT_THAT(this->service->bearers(), ElementsAre("Bearer new-1"));
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1));
  EXPECT_THAT(this->delays(), IsEmpty());
}

TYPED_TEST(DriveRefresh, RefusalBeforeTheFirstRequestLeavesTheCallToItsCourse) {
  this->credential->setTokens("", "refresh token");
  this->service->tokenResponse = response(400, R"({"error":"invalid_grant"})");
  const TestSupport::LogCapture log;
  EXPECT_EQ(this->call().getError().httpResponseCode, 401);
  EXPECT_THAT(this->service->bearers(), ElementsAre("", "", "", ""));
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1)) << "the refusal is remembered";
  EXPECT_THAT(log.records(), SizeIs(3)) << "one for each retry, none for the first refresh";
  EXPECT_EQ(this->credential->refreshToken(), "refresh token");
}

TYPED_TEST(DriveRefresh, FailedRefreshBeforeTheFirstRequestIsRepeatedAfterIt) {
  this->credential->setTokens("", "refresh token");
  this->service->tokenResponse = response(502);
  const TestSupport::LogCapture log;
  EXPECT_FALSE(this->call().isSuccess());
  EXPECT_THAT(this->service->bearers(), ElementsAre("", "", "", ""));
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(4)) << "only the first request has one before";
  EXPECT_THAT(log.records(), SizeIs(3));
}

TYPED_TEST(DriveRefresh, SessionWithoutAnyTokenSendsRequestsWithoutOne) {
  this->credential->setTokens("", "");
  const TestSupport::LogCapture log;
  EXPECT_EQ(this->call().getError().httpResponseCode, 401);
  EXPECT_THAT(this->service->bearers(), ElementsAre("", "", "", ""));
  EXPECT_THAT(this->service->tokenRequests(), IsEmpty());
}

TYPED_TEST(DriveRefresh, SessionWithoutARefreshTokenSendsNoRefresh) {
  this->credential->setTokens("old", "");
  const TestSupport::LogCapture log;
  EXPECT_FALSE(this->call().isSuccess());
  EXPECT_THAT(this->service->bearers(), SizeIs(4));
  EXPECT_THAT(this->service->tokenRequests(), IsEmpty());
  EXPECT_THAT(log.records(), SizeIs(3));
  EXPECT_THAT(log.records(),
              Each(errorLine("Failed to refresh OAuth2 credential. There is no refresh token.")));
}

TYPED_TEST(DriveRefresh, TokenThatCannotBeSentFailsTheCallAtOnce) {
  for (const char forbidden : {'\r', '\n', '\0'}) {
    this->credential->setTokens(std::string("secret") + forbidden + "x: y", "refresh token");
    const auto outcome = this->call();
    ASSERT_FALSE(outcome.isSuccess());
    EXPECT_EQ(outcome.getError().errorType, Client::CoreErrors::LocalFailure);
    EXPECT_EQ(outcome.getError().exceptionName, "InvalidRequest");
    EXPECT_EQ(outcome.getError().message, "The access token contains control characters");
    EXPECT_FALSE(outcome.getError().retryable);
  }
  EXPECT_THAT(this->service->bearers(), IsEmpty());
  EXPECT_THAT(this->service->tokenRequests(), IsEmpty());
  EXPECT_THAT(this->delays(), IsEmpty());
}

TYPED_TEST(DriveRefresh, NoSecretIsLogged) {
  this->service->tokenResponse =
      response(400, R"({"error":"invalid_grant","error_description":"bad token refresh token"})");
  const TestSupport::LogCapture log;
  EXPECT_FALSE(this->call().isSuccess());
  EXPECT_THAT(log.records(), SizeIs(3));
  EXPECT_THAT(log.records(), Each(Field(&LogRecord::text, Not(HasSubstr("refresh token")))));
  EXPECT_THAT(log.records(), Each(Field(&LogRecord::text, Not(HasSubstr("client secret")))));
}

TYPED_TEST(DriveRefresh, UnavailableServiceIsRetriedOnlyByGoogleAndAmazon) {
  this->service->apiResponse = response(503);
  EXPECT_EQ(this->call().getError().httpResponseCode, 503);
  EXPECT_THAT(this->service->bearers(), SizeIs(TypeParam::kRetriesTemporaryFailures ? 4 : 1));
  EXPECT_THAT(this->service->tokenRequests(), IsEmpty());
}

TYPED_TEST(DriveRefresh, UnreachableServiceIsRetriedOnlyByGoogleAndAmazon) {
  this->service->apiResponse = TestSupport::failedResponse(
      Http::TransportFailure::Kind::Unreachable, "CURLE_COULDNT_CONNECT", "refused", false);
  EXPECT_EQ(this->call().getError().exceptionName, "CURLE_COULDNT_CONNECT");
  EXPECT_THAT(this->service->bearers(), SizeIs(TypeParam::kRetriesTemporaryFailures ? 4 : 1));
}

TYPED_TEST(DriveRefresh, RedirectIsNotFollowed) {
  this->service->apiResponse = response(307, "", {{"location", "https://drive.example.test/y"}});
  EXPECT_EQ(this->call().getError().httpResponseCode, 307);
  EXPECT_THAT(this->service->hosts(), ElementsAre("drive.example.test"));

  Http::Request request;
  EXPECT_FALSE(BearerPolicy(this->credential).redirect("https://drive.example.test/y", request));
}

}  // namespace
