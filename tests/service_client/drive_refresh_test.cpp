#include <glog/logging.h>
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
#include <utility>
#include <vector>

#include "Client/BearerConduct.h"
#include "Client/ServiceCall.h"
#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "CloudStorage/Client/SerializableWSRequest.h"
#include "libvemlo/retry_strategies.h"
#include "support/attempt_world.h"

namespace {

namespace Client = CloudStorage::Client;
namespace Http = CloudStorage::Http;
using Client::BearerConduct;
using Client::Error;
using CloudStorage::Auth::OAuth2ClientSpec;
using CloudStorage::Auth::OAuth2Credential;
using CloudStorage::Util::Outcome;
using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::SizeIs;
using TestSupport::answer;

/// A drive service and its token endpoint. Accepts one access token; what the endpoint hands out is
/// "new-1", "new-2" and so on. Safe for concurrent calls.
class DriveService : public Http::Transport {
 public:
  Http::Response send(const Http::Request& request) override {
    std::unique_lock<std::mutex> lock(mutex_);
    if (request.uri.host() == "login.example.test") {
      tokenRequests_.push_back(request);
      return tokenAnswer ? *tokenAnswer : newTokens();
    }
    const auto header = request.headers.find("authorization");
    const std::string bearer = header == request.headers.end() ? "" : header->second;
    bearers_.push_back(bearer);
    hosts_.push_back(request.uri.host());
    waitForTheOthers(lock);
    if (apiAnswer) return *apiAnswer;
    return bearer == "Bearer " + acceptedToken ? answer(200, acceptedBody) : answer(401);
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
  std::optional<Http::Response> tokenAnswer;
  std::optional<Http::Response> apiAnswer;
  std::size_t gate = 0;  ///< this many requests are answered only when all of them are there

 private:
  Http::Response newTokens() const {
    const std::string token = "new-" + std::to_string(tokenRequests_.size());
    return answer(200, R"({"access_token":")" + token + R"(","refresh_token":")" +
                           nextRefreshToken + R"(","token_type":"bearer"})");
  }

  void waitForTheOthers(std::unique_lock<std::mutex>& lock) {
    if (bearers_.size() == gate) allThere_.notify_all();
    allThere_.wait(lock, [this] { return bearers_.size() >= gate; });
  }

  mutable std::mutex mutex_;
  std::condition_variable allThere_;
  std::vector<std::string> bearers_;
  std::vector<std::string> hosts_;
  std::vector<Http::Request> tokenRequests_;
};

/// Keeps the errors that are logged while it exists.
class ErrorLog : public google::LogSink {
 public:
  ErrorLog() { google::AddLogSink(this); }
  ~ErrorLog() override { google::RemoveLogSink(this); }
  ErrorLog(const ErrorLog&) = delete;
  ErrorLog& operator=(const ErrorLog&) = delete;

  void send(google::LogSeverity severity, const char*, const char*, int,
            const google::LogMessageTime&, const char* message, std::size_t size) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (severity == google::GLOG_ERROR) lines_.emplace_back(message, size);
  }
  std::vector<std::string> lines() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return lines_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

class Question : public Client::SerializableWSRequest {
 public:
  std::string serializePayload() const override { return {}; }
};

struct Nothing {};

std::optional<Error> readNothing(Http::Response&, Nothing&) { return std::nullopt; }

struct Google {
  using DriveClient = Client::GoogleDrive::GoogleDriveClient;
  using Strategy = GoogleDriveRetryStrategy;
  using Marshaller = Client::GoogleDrive::GoogleDriveErrorMarshaller;
  static constexpr bool kRepeatsTemporaryFailures = true;
};
struct Amazon {
  using DriveClient = Client::AmazonDrive::AmazonDriveClient;
  using Strategy = AmazonDriveRetryStrategy;
  using Marshaller = Client::AmazonDrive::AmazonDriveErrorMarshaller;
  static constexpr bool kRepeatsTemporaryFailures = true;
};
struct OneDrive {
  using DriveClient = Client::OneDrive::OneDriveClient;
  using Strategy = OneDriveRetryStrategy;
  using Marshaller = Client::OneDrive::OneDriveErrorMarshaller;
  static constexpr bool kRepeatsTemporaryFailures = false;
};
struct Dropbox {
  using DriveClient = Client::Dropbox::DropboxClient;
  using Strategy = DropboxRetryStrategy;
  using Marshaller = Client::Dropbox::DropboxErrorMarshaller;
  static constexpr bool kRepeatsTemporaryFailures = false;
};

/// A session's client with one operation of the test's own.
template <typename Drive>
class DriveRefresh : public ::testing::Test {
 protected:
  DriveRefresh() {
    credential->setTokens("old", "refresh token");
    parts.credential = credential;
    parts.retryStrategy = std::make_shared<typename Drive::Strategy>(credential);
    parts.errorMarshaller = std::make_shared<typename Drive::Marshaller>();
    environment = world.environment();
    environment.transport = service;
    OAuth2ClientSpec spec;
    spec.clientId = "id";
    spec.clientSecret = "client secret";
    spec.tokenEndpoint = "https://login.example.test/token";
    client = std::make_shared<typename Drive::DriveClient>(spec, parts, environment);
  }

  // One call; safe for concurrent calls.
  Outcome<Nothing, Error> ask() const {
    BearerConduct conduct(credential);
    return Client::ServiceCall(parts, environment)
        .send<Nothing>(Http::Method::Get, Http::URI::parse("https://drive.example.test/x").value(),
                       Question(), conduct, readNothing);
  }

  TestSupport::AttemptWorld world;
  std::shared_ptr<DriveService> service = std::make_shared<DriveService>();
  std::shared_ptr<OAuth2Credential> credential = std::make_shared<OAuth2Credential>();
  Client::ClientParts parts;
  Client::ClientEnvironment environment;
  std::shared_ptr<typename Drive::DriveClient> client;
};

using Drives = ::testing::Types<Google, Amazon, OneDrive, Dropbox>;
TYPED_TEST_SUITE(DriveRefresh, Drives);

TYPED_TEST(DriveRefresh, GoodTokenIsSentAndNotRefreshed) {
  this->service->acceptedToken = "old";
  EXPECT_TRUE(this->ask().isSuccess());
  EXPECT_THAT(this->service->bearers(), ElementsAre("Bearer old"));
  EXPECT_THAT(this->service->tokenRequests(), IsEmpty());
}

TYPED_TEST(DriveRefresh, AttemptAfterARefreshCarriesTheNewToken) {
  EXPECT_TRUE(this->ask().isSuccess());
  EXPECT_THAT(this->service->bearers(), ElementsAre("Bearer old", "Bearer new-1"));
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1));
  EXPECT_THAT(this->world.delays(), ElementsAre(1000));
  EXPECT_EQ(this->credential->accessToken(), "new-1");

  EXPECT_TRUE(this->ask().isSuccess());
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1)) << "the next call needs none";
}

TYPED_TEST(DriveRefresh, TokenEndpointIsAskedWithTheRefreshTokenAndWithoutABearer) {
  EXPECT_TRUE(this->ask().isSuccess());
  ASSERT_THAT(this->service->tokenRequests(), SizeIs(1));
  const auto request = this->service->tokenRequests()[0];
  EXPECT_EQ(request.headers.count("authorization"), 0U);
  EXPECT_THAT(request.body, HasSubstr("refresh_token=refresh%20token"));
}

/// Sixteen threads at once, none of which is answered before all have sent.
template <typename Drive>
class DriveRefreshInThreads : public DriveRefresh<Drive> {
 protected:
  static constexpr std::size_t kThreads = 16;

  DriveRefreshInThreads() {
    this->service->gate = kThreads;
    // The default's own name. Without it the C library forgets the time zone for each line that is
    // logged, under a lock that ThreadSanitizer does not see.
    ::setenv("TZ", ":/etc/localtime", 0);
    ::tzset();
  }

  // How many of them succeed.
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
TYPED_TEST_SUITE(DriveRefreshInThreads, Drives);

TYPED_TEST(DriveRefreshInThreads, AllShareOneRefresh) {
  EXPECT_EQ(this->successesOf([this] { return this->ask().isSuccess(); }), this->kThreads);
  this->expectOneRefresh();
}

using GoogleDriveRefreshInThreads = DriveRefreshInThreads<Google>;

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
  this->environment.sleep = [](auto) {};  // or else the waiting of all adds up to minutes
  this->service->tokenAnswer = answer(400, R"({"error":"invalid_grant"})");
  const ErrorLog log;
  EXPECT_EQ(this->successesOf([this] { return this->ask().isSuccess(); }), 0U);
  EXPECT_THAT(this->service->bearers(), SizeIs(4 * this->kThreads));
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1));
  EXPECT_THAT(log.lines(), SizeIs(3 * this->kThreads));
}

TYPED_TEST(DriveRefresh, RefusedRefreshIsLoggedEachTimeButAskedForOnce) {
  this->service->tokenAnswer =
      answer(400, R"({"error":"invalid_grant","error_description":"revoked"})");
  const ErrorLog log;
  const auto outcome = this->ask();
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().httpResponseCode, 401);
  EXPECT_THAT(this->service->bearers(), SizeIs(4));
  EXPECT_THAT(this->service->bearers(), Each("Bearer old"));
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1));
  EXPECT_THAT(this->world.delays(), ElementsAre(1000, 2000, 3000));
  EXPECT_THAT(log.lines(), SizeIs(3));
  EXPECT_THAT(log.lines(), Each("Failed to refresh OAuth2 credential. invalid_grant: revoked"));
  EXPECT_EQ(this->credential->refreshToken(), "refresh token");
}

TYPED_TEST(DriveRefresh, TokenEndpointThatAnswersUnauthorizedIsNotAskedForItsOwnSake) {
  this->service->tokenAnswer = answer(401, R"({"error":"invalid_client"})");
  const ErrorLog log;
  EXPECT_FALSE(this->ask().isSuccess());
  EXPECT_THAT(this->service->bearers(), SizeIs(4));
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1));
  EXPECT_THAT(log.lines(), Each("Failed to refresh OAuth2 credential. invalid_client"));
}

TYPED_TEST(DriveRefresh, PageOfAGatewayIsAFailedRefresh) {
  this->service->tokenAnswer =
      answer(502, "<html>\r\nBad gateway</html>", {{"content-type", "text/html"}});
  const ErrorLog log;
  EXPECT_FALSE(this->ask().isSuccess());
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(3));
  EXPECT_THAT(log.lines(), SizeIs(3));
  EXPECT_THAT(log.lines(), Each("Failed to refresh OAuth2 credential. HTTP 502"));
}

TYPED_TEST(DriveRefresh, NewGrantEndsTheMemoryOfARefusal) {
  this->service->tokenAnswer = answer(400, R"({"error":"invalid_grant"})");
  {
    const ErrorLog log;
    EXPECT_FALSE(this->ask().isSuccess());
  }
  this->service->tokenAnswer.reset();
  this->service->acceptedToken = "new-2";
  this->credential->setTokens("old", "another refresh token");
  EXPECT_TRUE(this->ask().isSuccess());
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(2));
}

TYPED_TEST(DriveRefresh, RefusalIsForgottenInTimeByTheClientsClock) {
  this->service->tokenAnswer = answer(400, R"({"error":"invalid_grant"})");
  const ErrorLog log;
  EXPECT_FALSE(this->ask().isSuccess());  // waits for 6 seconds in all
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(1));
  EXPECT_FALSE(this->ask().isSuccess());
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(2));
}

TYPED_TEST(DriveRefresh, EachRefusedTokenIsRefreshed) {
  this->service->acceptedToken = "new-3";
  EXPECT_TRUE(this->ask().isSuccess());
  EXPECT_THAT(this->service->bearers(),
              ElementsAre("Bearer old", "Bearer new-1", "Bearer new-2", "Bearer new-3"));
}

TYPED_TEST(DriveRefresh, TokensThatAreNeverAcceptedEndTheCallAfterFourSends) {
  this->service->acceptedToken = "none of them";
  EXPECT_EQ(this->ask().getError().httpResponseCode, 401);
  EXPECT_THAT(this->service->bearers(), SizeIs(4));
  EXPECT_THAT(this->service->tokenRequests(), SizeIs(3));
}

TYPED_TEST(DriveRefresh, NewRefreshTokenReplacesTheOldOne) {
  this->service->acceptedToken = "new-2";
  this->service->nextRefreshToken = "rotated";
  EXPECT_TRUE(this->ask().isSuccess());
  ASSERT_THAT(this->service->tokenRequests(), SizeIs(2));
  EXPECT_THAT(this->service->tokenRequests()[0].body, HasSubstr("refresh_token=refresh%20token"));
  EXPECT_THAT(this->service->tokenRequests()[1].body, HasSubstr("refresh_token=rotated"));
}

TYPED_TEST(DriveRefresh, SessionWithARefreshTokenAloneGetsAnAccessToken) {
  this->credential->setTokens("", "refresh token");
  EXPECT_TRUE(this->ask().isSuccess());
  EXPECT_THAT(this->service->bearers(), ElementsAre("", "Bearer new-1"));
}

TYPED_TEST(DriveRefresh, SessionWithoutARefreshTokenAsksNobody) {
  this->credential->setTokens("old", "");
  const ErrorLog log;
  EXPECT_FALSE(this->ask().isSuccess());
  EXPECT_THAT(this->service->bearers(), SizeIs(4));
  EXPECT_THAT(this->service->tokenRequests(), IsEmpty());
  EXPECT_THAT(log.lines(), SizeIs(3));
  EXPECT_THAT(log.lines(), Each("Failed to refresh OAuth2 credential. There is no refresh token."));
}

TYPED_TEST(DriveRefresh, TokenThatCannotBeSentFailsTheCallAtOnce) {
  for (const char forbidden : {'\r', '\n', '\0'}) {
    this->credential->setTokens(std::string("secret") + forbidden + "x: y", "refresh token");
    const auto outcome = this->ask();
    ASSERT_FALSE(outcome.isSuccess());
    EXPECT_EQ(outcome.getError().errorType, Client::CoreErrors::LocalFailure);
    EXPECT_EQ(outcome.getError().exceptionName, "InvalidRequest");
    EXPECT_EQ(outcome.getError().message, "The access token contains control characters");
    EXPECT_FALSE(outcome.getError().retryable);
  }
  EXPECT_THAT(this->service->bearers(), IsEmpty());
  EXPECT_THAT(this->service->tokenRequests(), IsEmpty());
  EXPECT_THAT(this->world.delays(), IsEmpty());
}

TYPED_TEST(DriveRefresh, NoSecretIsLogged) {
  this->service->tokenAnswer =
      answer(400, R"({"error":"invalid_grant","error_description":"bad token refresh token"})");
  const ErrorLog log;
  EXPECT_FALSE(this->ask().isSuccess());
  EXPECT_THAT(log.lines(), SizeIs(3));
  EXPECT_THAT(log.lines(), Each(Not(HasSubstr("refresh token"))));
  EXPECT_THAT(log.lines(), Each(Not(HasSubstr("client secret"))));
}

TYPED_TEST(DriveRefresh, UnavailableServiceIsAskedAgainOnlyByGoogleAndAmazon) {
  this->service->apiAnswer = answer(503);
  EXPECT_EQ(this->ask().getError().httpResponseCode, 503);
  EXPECT_THAT(this->service->bearers(), SizeIs(TypeParam::kRepeatsTemporaryFailures ? 4 : 1));
  EXPECT_THAT(this->service->tokenRequests(), IsEmpty());
}

TYPED_TEST(DriveRefresh, UnreachableServiceIsAskedAgainOnlyByGoogleAndAmazon) {
  this->service->apiAnswer = TestSupport::noAnswer(Http::TransportFailure::Kind::Unreachable,
                                                   "CURLE_COULDNT_CONNECT", "refused", false);
  EXPECT_EQ(this->ask().getError().exceptionName, "CURLE_COULDNT_CONNECT");
  EXPECT_THAT(this->service->bearers(), SizeIs(TypeParam::kRepeatsTemporaryFailures ? 4 : 1));
}

TYPED_TEST(DriveRefresh, TokenFollowsNoRedirect) {
  this->service->apiAnswer = answer(307, "", {{"location", "https://drive.example.test/y"}});
  EXPECT_EQ(this->ask().getError().httpResponseCode, 307);
  EXPECT_THAT(this->service->hosts(), ElementsAre("drive.example.test"));

  Http::Request request;
  EXPECT_FALSE(BearerConduct(this->credential).follow("https://drive.example.test/y", request));
}

}  // namespace
