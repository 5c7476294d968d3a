#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Client/LastFailure.h"
#include "support/drive_calls.h"

// What a thread knows about its last failure on a drive.
namespace {

using namespace CloudStorage::Client;  // NOLINT: what records consist of
using CloudStorage::Http::Request;
using CloudStorage::Http::Response;
using ::testing::StrEq;
using TestSupport::response;
using Kind = FailureKind;
using Reason = CloudStorage::Http::TransportFailure::Kind;

/// A drive service and its token endpoint. Safe for concurrent calls.
class Service401 : public CloudStorage::Http::Transport {
 public:
  using Respond = std::function<Response(const Request&)>;

  Response send(const Request& request) override {
    std::unique_lock<std::mutex> lock(mutex_);
    if (request.uri.host() == "login.example.test") {
      ++tokenRequests_;
      return respondToTokenRequest(request);
    }
    ++apiRequests_;
    allArrived_.notify_all();
    allArrived_.wait(lock, [this] { return apiRequests_ >= gate; });
    return respond(request);
  }

  int tokenRequests() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return tokenRequests_;
  }

  // To be set before the first call.
  Respond respond = [](const Request&) {
    return response(401, "", {{"request-id", "of the API"}});
  };
  Respond respondToTokenRequest;
  int gate = 0;  ///< so many requests get no response until all of them have arrived

 private:
  mutable std::mutex mutex_;
  std::condition_variable allArrived_;
  int apiRequests_ = 0;
  int tokenRequests_ = 0;
};

Response invalidGrant() {
  return response(400, R"({"error":"invalid_grant","error_description":"revoked"})");
}

Response unreachable() {
  return TestSupport::failedResponse(Reason::Unreachable, "CURLE_COULDNT_CONNECT", "refused", true);
}

Response newTokens() { return response(200, R"({"access_token":"new"})"); }

template <typename Drive>
class DriveFailureRecord : public ::testing::Test, protected TestSupport::DriveFixture<Drive> {
 protected:
  DriveFailureRecord() { LastFailure::reset(); }
  ~DriveFailureRecord() override { LastFailure::reset(); }

  // A client of a session of its own, so that no refusal is remembered.
  std::shared_ptr<typename Drive::Client> newClient(const std::string& accessToken = "token-1",
                                                    const std::string& refreshToken = "refresh-1") {
    const auto session = std::make_shared<TestSupport::DriveFixture<Drive>>();
    session->credential->setTokens(accessToken, refreshToken);
    sessions.push_back(session);
    auto environment = session->environment();
    environment.transport = service;
    return std::make_shared<typename Drive::Client>(session->makeSpec(), session->makeParts(),
                                                    environment);
  }

  void respondToTokenRequest(const std::function<Response()>& respond) {
    service->respondToTokenRequest = [respond](const Request&) { return respond(); };
  }

  void refuseWithoutToken(int status) {
    service->respond = [status](const Request& request) {
      EXPECT_EQ(request.headers.count("authorization"), 0U);
      return response(status, "", {{"request-id", "of the API"}});
    };
  }

  std::shared_ptr<Service401> service = std::make_shared<Service401>();
  std::vector<std::shared_ptr<TestSupport::DriveFixture<Drive>>> sessions;
};

TYPED_TEST_SUITE(DriveFailureRecord, TestSupport::Drives, TestSupport::DriveName);

Service serviceOf(const WSErrorMarshaller& marshaller) { return marshaller.service(); }

TYPED_TEST(DriveFailureRecord, RevokedAccountHasToBeLinkedAgainWhateverTheOperation) {
  this->respondToTokenRequest(invalidGrant);
  for (const auto& [operation, call] : TestSupport::driveCalls(TypeParam())) {
    SCOPED_TRACE(operation);
    LastFailure::reset();
    EXPECT_EQ(call(*this->newClient()).httpResponseCode, 401);
    const auto* record = LastFailure::get();
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->error.kind, Kind::LinkAgain);
    EXPECT_EQ(record->service, serviceOf(typename TypeParam::ErrorMarshaller()));
    EXPECT_THAT(record->operation, StrEq("refreshAccessToken"));
    EXPECT_EQ(record->error.exceptionName, "invalid_grant");
    EXPECT_EQ(record->error.httpResponseCode, 400);
  }
}

TYPED_TEST(DriveFailureRecord, UnreachableTokenEndpointIsOfflineWhateverTheOperation) {
  this->respondToTokenRequest(unreachable);
  for (const auto& [operation, call] : TestSupport::driveCalls(TypeParam())) {
    SCOPED_TRACE(operation);
    LastFailure::reset();
    EXPECT_EQ(call(*this->newClient()).httpResponseCode, 401);
    ASSERT_NE(LastFailure::get(), nullptr);
    EXPECT_EQ(LastFailure::get()->error.kind, Kind::Offline);
    EXPECT_EQ(LastFailure::get()->error.exceptionName, "CURLE_COULDNT_CONNECT");
  }
}

TYPED_TEST(DriveFailureRecord, NewTokenThatIsRefusedIsTheFailureOfTheRequest) {
  this->respondToTokenRequest(newTokens);
  for (const auto& [operation, call] : TestSupport::driveCalls(TypeParam())) {
    SCOPED_TRACE(operation);
    EXPECT_EQ(call(*this->newClient()).httpResponseCode, 401);
    ASSERT_NE(LastFailure::get(), nullptr);
    EXPECT_EQ(LastFailure::get()->error.kind, Kind::LinkAgain);
    EXPECT_THAT(LastFailure::get()->operation, StrEq(operation));
    EXPECT_EQ(LastFailure::get()->error.requestId, "of the API");
  }
}

TYPED_TEST(DriveFailureRecord, WithoutARefreshTokenTheRefusalIsTheFailure) {
  for (const auto& [operation, call] : TestSupport::driveCalls(TypeParam())) {
    SCOPED_TRACE(operation);
    EXPECT_EQ(call(*this->newClient("token-1", "")).httpResponseCode, 401);
    ASSERT_NE(LastFailure::get(), nullptr);
    EXPECT_EQ(LastFailure::get()->error.kind, Kind::LinkAgain);
    EXPECT_THAT(LastFailure::get()->operation, StrEq(operation));
    EXPECT_EQ(LastFailure::get()->error.httpResponseCode, 401);
  }
  EXPECT_EQ(this->service->tokenRequests(), 0);
}

TYPED_TEST(DriveFailureRecord, RenewalThatSucceedsInTheEndExplainsNothing) {
  int attempts = 0;
  this->respondToTokenRequest([&] { return ++attempts == 1 ? unreachable() : newTokens(); });
  const auto [operation, call] = TestSupport::driveCalls(TypeParam()).front();
  EXPECT_EQ(call(*this->newClient()).httpResponseCode, 401);
  EXPECT_GT(attempts, 1);
  ASSERT_NE(LastFailure::get(), nullptr);
  EXPECT_THAT(LastFailure::get()->operation, StrEq(operation));
  EXPECT_EQ(LastFailure::get()->error.kind, Kind::LinkAgain);
}

TYPED_TEST(DriveFailureRecord, FailedRenewalOfAnEarlierCallExplainsNothing) {
  this->respondToTokenRequest(unreachable);
  const auto [operation, call] = TestSupport::driveCalls(TypeParam()).front();
  call(*this->newClient());
  ASSERT_TRUE(LastFailure::explainsRefusal());
  EXPECT_EQ(call(*this->newClient("token-1", "")).httpResponseCode, 401);
  EXPECT_THAT(LastFailure::get()->operation, StrEq(operation));
}

TYPED_TEST(DriveFailureRecord, OtherFailureAfterAFailedRenewalIsTheLastOne) {
  this->respondToTokenRequest(invalidGrant);
  int requests = 0;
  this->service->respond = [&](const Request&) { return response(++requests == 1 ? 401 : 404); };
  const auto [operation, call] = TestSupport::driveCalls(TypeParam()).front();
  EXPECT_EQ(call(*this->newClient()).httpResponseCode, 404);
  EXPECT_EQ(LastFailure::get()->error.kind, Kind::NotFound);
  EXPECT_THAT(LastFailure::get()->operation, StrEq(operation));
}

TYPED_TEST(DriveFailureRecord, RefusalOfARequestWithoutATokenHidesNoFailedRenewal) {
  for (const auto& renewal : {invalidGrant, unreachable}) {
    this->respondToTokenRequest(renewal);
    const auto kind = renewal == invalidGrant ? Kind::LinkAgain : Kind::Offline;
    for (const int status : {400, 401, 403}) {
      this->refuseWithoutToken(status);
      for (const auto& [operation, call] : TestSupport::driveCalls(TypeParam())) {
        SCOPED_TRACE(std::string(operation) + ' ' + std::to_string(status));
        LastFailure::reset();
        EXPECT_EQ(call(*this->newClient("")).httpResponseCode, status);
        ASSERT_NE(LastFailure::get(), nullptr);
        EXPECT_EQ(LastFailure::get()->error.kind, kind);
        EXPECT_THAT(LastFailure::get()->operation, StrEq("refreshAccessToken"));
      }
    }
  }
}

TYPED_TEST(DriveFailureRecord, WithoutAnyTokenEachRefusalMeansToLinkAgain) {
  for (const int status : {400, 401, 403}) {
    this->refuseWithoutToken(status);
    for (const auto& [operation, call] : TestSupport::driveCalls(TypeParam())) {
      SCOPED_TRACE(std::string(operation) + ' ' + std::to_string(status));
      EXPECT_EQ(call(*this->newClient("", "")).httpResponseCode, status);
      ASSERT_NE(LastFailure::get(), nullptr);
      EXPECT_EQ(LastFailure::get()->error.kind, Kind::LinkAgain);
      EXPECT_THAT(LastFailure::get()->operation, StrEq(operation));
      EXPECT_EQ(LastFailure::get()->error.httpResponseCode, status);
    }
  }
  EXPECT_EQ(this->service->tokenRequests(), 0);
}

TYPED_TEST(DriveFailureRecord, WithoutATokenOtherFailuresKeepTheirMeaning) {
  this->respondToTokenRequest(unreachable);
  this->service->respond = [](const Request&) { return response(404); };
  const auto [operation, call] = TestSupport::driveCalls(TypeParam()).front();
  EXPECT_EQ(call(*this->newClient("")).httpResponseCode, 404);
  EXPECT_EQ(LastFailure::get()->error.kind, Kind::NotFound);
  EXPECT_THAT(LastFailure::get()->operation, StrEq(operation));
}

TYPED_TEST(DriveFailureRecord, RefusalOfARequestWithATokenIsItsOwnFailure) {
  for (const int status : {400, 403}) {
    this->service->respond = [status](const Request&) { return response(status); };
    for (const auto& [operation, call] : TestSupport::driveCalls(TypeParam())) {
      SCOPED_TRACE(std::string(operation) + ' ' + std::to_string(status));
      EXPECT_EQ(call(*this->newClient()).httpResponseCode, status);
      ASSERT_NE(LastFailure::get(), nullptr);
      EXPECT_NE(LastFailure::get()->error.kind, Kind::LinkAgain);
      EXPECT_THAT(LastFailure::get()->operation, StrEq(operation));
    }
  }
}

TYPED_TEST(DriveFailureRecord, RememberedRefusalIsTheFailureOfLaterCalls) {
  this->respondToTokenRequest(invalidGrant);
  const auto client = this->newClient();
  std::thread([&] {
    EXPECT_FALSE(this->sessions.back()->credential->refreshAccessToken().isSuccess());
  }).join();
  const auto call = TestSupport::driveCalls(TypeParam()).front().call;
  EXPECT_EQ(call(*client).httpResponseCode, 401);
  EXPECT_EQ(this->service->tokenRequests(), 1);
  ASSERT_NE(LastFailure::get(), nullptr);
  EXPECT_EQ(LastFailure::get()->error.kind, Kind::LinkAgain);
  EXPECT_THAT(LastFailure::get()->operation, StrEq("refreshAccessToken"));
  EXPECT_EQ(LastFailure::get()->error.exceptionName, "invalid_grant");
}

TYPED_TEST(DriveFailureRecord, FailedRenewalOfAnotherThreadIsSharedWithItsFailure) {
  this->respondToTokenRequest(unreachable);
  const auto client = this->newClient();
  auto& shared = *this->sessions.back()->credential;
  shared.accessTokenForAttempt();
  std::thread([&] { EXPECT_FALSE(shared.refreshAccessToken().isSuccess()); }).join();
  EXPECT_EQ(LastFailure::get(), nullptr);

  EXPECT_FALSE(shared.refreshAccessToken().isSuccess());
  EXPECT_EQ(this->service->tokenRequests(), 1);
  ASSERT_NE(LastFailure::get(), nullptr);
  EXPECT_EQ(LastFailure::get()->error.kind, Kind::Offline);
  EXPECT_TRUE(LastFailure::explainsRefusal());
}

TYPED_TEST(DriveFailureRecord, ThreadsThatShareAFailedRenewalHaveItAsTheirOwn) {
  constexpr int kThreads = 8;
  this->respondToTokenRequest(unreachable);
  this->service->gate = kThreads;
  const auto client = this->newClient();
  const auto call = TestSupport::driveCalls(TypeParam()).front().call;
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      EXPECT_EQ(call(*client).httpResponseCode, 401);
      const auto* record = LastFailure::get();
      ASSERT_NE(record, nullptr);
      EXPECT_EQ(record->error.kind, Kind::Offline);
      EXPECT_THAT(record->operation, StrEq("refreshAccessToken"));
      EXPECT_EQ(record->error.exceptionName, "CURLE_COULDNT_CONNECT");
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_LT(this->service->tokenRequests(), kThreads * 3) << "some were shared";
}

TYPED_TEST(DriveFailureRecord, FailureOfATokenExchangeIsTheLastOne) {
  this->respondToTokenRequest(invalidGrant);
  const auto client = this->newClient();
  EXPECT_FALSE(client->exchangeAuthorizationCode("bad", {}, *this->credential).isSuccess());
  ASSERT_NE(LastFailure::get(), nullptr);
  EXPECT_EQ(LastFailure::get()->error.kind, Kind::LinkAgain);
  EXPECT_EQ(LastFailure::get()->service, serviceOf(typename TypeParam::ErrorMarshaller()));
  EXPECT_THAT(LastFailure::get()->operation, StrEq("exchangeAuthorizationCode"));
}

TYPED_TEST(DriveFailureRecord, IsThatOfTheThread) {
  this->respondToTokenRequest(invalidGrant);
  const auto call = TestSupport::driveCalls(TypeParam()).front().call;
  std::thread([&] { call(*this->newClient()); }).join();
  EXPECT_EQ(LastFailure::get(), nullptr);
}

}  // namespace
