#include <gtest/gtest.h>

#include <string>

#include "Client/AccountLookup.h"
#include "Client/LastFailure.h"
#include "support/attempt_fixture.h"

// What a thread knows about its last failure after it asked for the owner of an account.
namespace {

using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::FailureKind;
using CloudStorage::Client::LastFailure;
using CloudStorage::Client::lookUpAccount;
using CloudStorage::Client::Service;
using TestSupport::response;

constexpr char kNewTokens[] = R"({"access_token":"token-2"})";

/// A drive that withholds the account from valid tokens.
class AccountFailureRecord : public ::testing::TestWithParam<Service>,
                             protected TestSupport::AttemptFixture {
 protected:
  AccountFailureRecord() { LastFailure::reset(); }
  ~AccountFailureRecord() override { LastFailure::reset(); }

  auto lookUp(const std::string& accessToken) {
    return lookUpAccount(GetParam(), accessToken, "refresh-1", {}, environment());
  }

  void enqueueJson(int status, const std::string& body) {
    enqueue(response(status, body, {{"content-type", "application/json"}}));
  }

  void enqueueWithheld() {
    switch (GetParam()) {
      case Service::GoogleDrive:
        return enqueueJson(403, R"({"error":{"errors":[{"reason":"insufficientPermissions"}]}})");
      case Service::OneDrive:
        return enqueueJson(403, R"({"error":{"code":"accessDenied"}})");
      case Service::Dropbox:
        return enqueueJson(401, R"({"error_summary":"missing_scope/.","error":{}})");
      default:
        return enqueueJson(403, R"({"error":"insufficient_scope"})");
    }
  }

  void enqueueWithheldAccount() {
    enqueueWithheld();
    if (GetParam() != Service::GoogleDrive) enqueueWithheld();  // it asks for everything at once
  }

  void expectEmptyAccount(const std::string& accessToken) {
    const auto found = lookUp(accessToken);
    ASSERT_TRUE(found.isSuccess()) << found.getError().message;
    EXPECT_EQ(found.getResult().name + found.getResult().email, "");
  }
};

INSTANTIATE_TEST_SUITE_P(, AccountFailureRecord,
                         ::testing::Values(Service::AmazonDrive, Service::GoogleDrive,
                                           Service::OneDrive, Service::Dropbox));

TEST_P(AccountFailureRecord, WithheldAccountIsNoFailure) {
  enqueueWithheldAccount();
  expectEmptyAccount("token-1");
  EXPECT_EQ(LastFailure::get(), nullptr);
}

TEST_P(AccountFailureRecord, WithheldAccountLeavesTheFormerFailureInPlace) {
  CloudStorage::Client::Error former;
  former.errorType = CoreErrors::NotFound;
  former.message = "The bucket does not exist";
  LastFailure::set(Service::S3, "listObjectsV2", former);
  const char* const text = LastFailure::get()->error.message.c_str();
  enqueueWithheldAccount();
  expectEmptyAccount("token-1");
  ASSERT_NE(LastFailure::get(), nullptr);
  EXPECT_EQ(LastFailure::get()->service, Service::S3);
  EXPECT_STREQ(LastFailure::get()->operation, "listObjectsV2");
  EXPECT_EQ(LastFailure::get()->error.message, former.message);
  EXPECT_EQ(LastFailure::get()->error.message.c_str(), text) << "the host may hold it";
}

TEST_P(AccountFailureRecord, AccountWithheldFromARenewedTokenIsNoFailure) {
  enqueueJson(200, kNewTokens);
  enqueueWithheldAccount();
  expectEmptyAccount("");
  EXPECT_EQ(requests()[1].headers.at("authorization"), "Bearer token-2");
  EXPECT_EQ(LastFailure::get(), nullptr);
}

TEST_P(AccountFailureRecord, RevokedAccountWithoutAnAccessTokenHasToBeLinkedAgain) {
  enqueueJson(400, R"({"error":"invalid_grant"})");
  enqueueWithheld();
  EXPECT_FALSE(lookUp("").isSuccess());
  EXPECT_EQ(requests().at(1).headers.count("authorization"), 0U);
  ASSERT_NE(LastFailure::get(), nullptr);
  EXPECT_EQ(LastFailure::get()->error.kind, FailureKind::LinkAgain);
  EXPECT_EQ(LastFailure::get()->service, GetParam());
  EXPECT_STREQ(LastFailure::get()->operation, "refreshAccessToken");
  EXPECT_EQ(LastFailure::get()->error.exceptionName, "invalid_grant");
}

TEST_P(AccountFailureRecord, WithoutARenewedTokenEachRefusalFails) {
  for (const int status : {400, 401, 403}) {
    SCOPED_TRACE(status);
    LastFailure::reset();
    enqueueJson(400, R"({"error":"invalid_grant"})");
    enqueueJson(status, "{}");
    EXPECT_EQ(lookUp("").getError().httpResponseCode, status);
    ASSERT_NE(LastFailure::get(), nullptr);
    EXPECT_EQ(LastFailure::get()->error.kind, FailureKind::LinkAgain);
    EXPECT_EQ(LastFailure::get()->error.exceptionName, "invalid_grant");
  }
  EXPECT_EQ(requests().size(), 6U);
}

}  // namespace
