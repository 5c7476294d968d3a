#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <vector>

#include "Client/AccountLookup.h"
#include "Client/LastFailure.h"
#include "libvemlo_service_client.h"
#include "support/attempt_fixture.h"
#include "support/settings_guard.h"
#include "support/token_recorder.h"

namespace {

using CloudStorage::Client::Account;
using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Client::LastFailure;
using CloudStorage::Client::lookUpAccount;
using CloudStorage::Client::Service;
using CloudStorage::Util::Outcome;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using TestSupport::response;

constexpr char kRefreshed[] = R"({"access_token":"token-2","token_type":"bearer"})";

/// A scripted drive and its token endpoint.
class AccountTest : public ::testing::Test, protected TestSupport::AttemptFixture {
 protected:
  explicit AccountTest(Service service) : service_(service) { LastFailure::reset(); }

  Outcome<Account, Error> lookUp(const std::string& accessToken = "token-1",
                                 const std::string& refreshToken = "refresh-1") {
    return lookUpAccount(service_, accessToken, refreshToken, {}, environment());
  }

  void enqueueJson(const std::string& body, int status = 200) {
    enqueue(response(status, body, {{"content-type", "application/json"}}));
  }

  /// The account in responses with these bodies.
  Account accountFrom(const std::vector<std::string>& bodies) {
    for (const auto& body : bodies) enqueueJson(body);
    const auto found = lookUp();
    EXPECT_TRUE(found.isSuccess()) << found.getError().message;
    return found.getResult();
  }

  static void expectAccount(const Account& account, const std::string& name,
                            const std::string& email, std::int64_t used, std::int64_t total) {
    EXPECT_EQ(account.name, name);
    EXPECT_EQ(account.email, email);
    EXPECT_EQ(account.usedSpace, used);
    EXPECT_EQ(account.totalSpace, total);
  }

  void expectFailure(const std::string& operation) {
    EXPECT_FALSE(lookUp().isSuccess());
    ASSERT_NE(LastFailure::get(), nullptr);
    EXPECT_EQ(LastFailure::get()->service, service_);
    EXPECT_STREQ(LastFailure::get()->operation, operation.c_str());
  }

 private:
  Service service_;
};

// Google Drive

class GoogleDriveAccount : public AccountTest {
 protected:
  GoogleDriveAccount() : AccountTest(Service::GoogleDrive) {}
};

TEST_F(GoogleDriveAccount, IsInOneResponse) {
  const auto account =
      accountFrom({R"({"user":{"displayName":"Ann Example","emailAddress":"ann@example.test"},)"
                   R"("storageQuota":{"limit":"16106127360","usage":"5497558138880"}})"});
  expectAccount(account, "Ann Example", "ann@example.test", 5497558138880, 16106127360);
  EXPECT_THAT(lines(), ElementsAre("GET https://www.googleapis.com/drive/v3/about"
                                   "?fields=user(displayName,emailAddress),"
                                   "storageQuota(usage,limit)&prettyPrint=false"));
  EXPECT_THAT(headers("authorization"), ElementsAre("Bearer token-1"));
}

TEST_F(GoogleDriveAccount, MayHaveNoLimit) {
  expectAccount(accountFrom({R"({"user":{"displayName":"Ann"},"storageQuota":{"usage":"0"}})"}),
                "Ann", "", 0, -1);
}

TEST_F(GoogleDriveAccount, MayHaveNothing) {
  expectAccount(accountFrom({"{}"}), "", "", -1, -1);
  expectAccount(accountFrom({R"({"user":[],"storageQuota":7})"}), "", "", -1, -1);
  expectAccount(accountFrom({R"({"user":{"displayName":3},"storageQuota":)"
                             R"({"usage":"many","limit":"18446744073709551615"}})"}),
                "", "", -1, -1);
}

TEST_F(GoogleDriveAccount, IsEmptyIfTheScopesDoNotAllowIt) {
  enqueueJson(R"({"error":{"code":403,"message":"Insufficient Permission",)"
              R"("errors":[{"reason":"insufficientPermissions"}]}})",
              403);
  const auto found = lookUp();
  ASSERT_TRUE(found.isSuccess());
  expectAccount(found.getResult(), "", "", -1, -1);
}

TEST_F(GoogleDriveAccount, FailsIfALimitIsExceeded) {
  enqueueJson(R"({"error":{"errors":[{"reason":"userRateLimitExceeded"}]}})", 403);
  expectFailure("getAccount");
  EXPECT_EQ(requests().size(), 1U) << "nothing but a renewed token is a reason for a retry";
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(GoogleDriveAccount, FailsIfTheResponseIsNoJson) {
  enqueue(response(200, "<html></html>", {{"content-type", "text/html"}}));
  expectFailure("getAccount");
}

// OneDrive

class OneDriveAccount : public AccountTest {
 protected:
  OneDriveAccount() : AccountTest(Service::OneDrive) {}
};

TEST_F(OneDriveAccount, IsInTwoResponses) {
  const auto account = accountFrom(
      {R"({"displayName":"Ann Example","mail":"ann@example.test","userPrincipalName":"ann@org"})",
       R"({"quota":{"used":1024,"total":1099511627776,"state":"normal"}})"});
  expectAccount(account, "Ann Example", "ann@example.test", 1024, 1099511627776);
  EXPECT_THAT(lines(), ElementsAre("GET https://graph.microsoft.com/v1.0/me"
                                   "?$select=displayName,mail,userPrincipalName",
                                   "GET https://graph.microsoft.com/v1.0/me/drive?$select=quota"));
}

TEST_F(OneDriveAccount, OfAPersonWithoutAMailboxHasThePrincipalName) {
  const auto account = accountFrom(
      {R"({"displayName":"Ann","mail":null,"userPrincipalName":"ann@outlook.test"})", "{}"});
  expectAccount(account, "Ann", "ann@outlook.test", -1, -1);
}

TEST_F(OneDriveAccount, WithATotalOfZeroHasNoLimit) {
  expectAccount(accountFrom({"{}", R"({"quota":{"used":7,"total":0}})"}), "", "", 7, -1);
}

TEST_F(OneDriveAccount, HasTheSpaceAloneIfTheScopesDoNotAllowTheUser) {
  enqueueJson(R"({"error":{"code":"Authorization_RequestDenied","message":"No."}})", 403);
  enqueueJson(R"({"quota":{"used":7,"total":8}})");
  expectAccount(lookUp().getResult(), "", "", 7, 8);
}

TEST_F(OneDriveAccount, HasTheUserAloneIfTheScopesDoNotAllowTheDrive) {
  enqueueJson(R"({"displayName":"Ann"})");
  enqueueJson(R"({"error":{"code":"accessDenied","message":"No."}})", 403);
  expectAccount(lookUp().getResult(), "Ann", "", -1, -1);
}

TEST_F(OneDriveAccount, FailsIfTheServiceFailsInBetween) {
  enqueueJson(R"({"displayName":"Ann"})");
  enqueueJson(R"({"error":{"code":"generalException","message":"No."}})", 500);
  expectFailure("getSpace");
  EXPECT_EQ(requests().size(), 2U);
}

TEST_F(OneDriveAccount, AsksForNothingAfterAFailure) {
  enqueueJson(R"({"error":{"code":"generalException","message":"No."}})", 500);
  expectFailure("getAccount");
  EXPECT_EQ(requests().size(), 1U);
}

// Both requests share the time of one call.
TEST_F(OneDriveAccount, EndsWithTheTimeOfOneCall) {
  for (int count = 0; count < 2; ++count) {
    enqueue([this](const auto&) {
      pass(std::chrono::minutes(11));
      return response(200, "{}");
    });
  }
  EXPECT_EQ(lookUp().getError().exceptionName, "CallTimeout");
  EXPECT_EQ(requests().size(), 1U);
}

// Dropbox

class DropboxAccount : public AccountTest {
 protected:
  DropboxAccount() : AccountTest(Service::Dropbox) {}
};

constexpr char kDropboxOwner[] =
    R"({"name":{"given_name":"Ann","display_name":"Ann Example"},"email":"ann@example.test"})";

TEST_F(DropboxAccount, IsInTwoResponses) {
  const auto account = accountFrom(
      {kDropboxOwner,
       R"({"used":314159265,"allocation":{".tag":"individual","allocated":2147483648}})"});
  expectAccount(account, "Ann Example", "ann@example.test", 314159265, 2147483648);
  EXPECT_THAT(lines(), ElementsAre("POST https://api.dropboxapi.com/2/users/get_current_account",
                                   "POST https://api.dropboxapi.com/2/users/get_space_usage"));
  EXPECT_THAT(bodies(), ElementsAre("null", "null"));
  EXPECT_THAT(headers("content-type"), ElementsAre("application/json", "application/json"));
}

TEST_F(DropboxAccount, InATeamHasTheLimitOfItsMember) {
  const auto usage = [](const std::string& ofMember) {
    return R"({"used":1,"allocation":{".tag":"team","used":5,"allocated":100,)" + ofMember +
           R"("user_within_team_space_limit_type":{".tag":"off"}}})";
  };
  const std::string member = R"("user_within_team_space_allocated":)";
  EXPECT_EQ(accountFrom({kDropboxOwner, usage(member + "40,")}).totalSpace, 40);
  EXPECT_EQ(accountFrom({kDropboxOwner, usage(member + "0,")}).totalSpace, 100);
  EXPECT_EQ(accountFrom({kDropboxOwner, usage("")}).totalSpace, 100);
}

TEST_F(DropboxAccount, IsEmptyIfTheScopesDoNotAllowIt) {
  const std::string missing =
      R"({"error_summary":"missing_scope/..","error":{".tag":"missing_scope"}})";
  enqueueJson(missing, 401);
  enqueueJson(missing, 401);
  const auto found = lookUp();
  ASSERT_TRUE(found.isSuccess());
  expectAccount(found.getResult(), "", "", -1, -1);
  EXPECT_EQ(requests().size(), 2U) << "a new token would not have more scopes";
}

TEST_F(DropboxAccount, TakesBothTokensInOneText) {
  enqueueJson(R"({"error_summary":"expired_access_token/."})", 401);
  enqueueJson(kRefreshed);
  enqueueJson(kDropboxOwner);
  enqueueJson("{}");
  expectAccount(lookUp("token-1|refresh/1", "").getResult(), "Ann Example", "ann@example.test", -1,
                -1);
  EXPECT_EQ(requests()[0].headers.at("authorization"), "Bearer token-1");
  EXPECT_THAT(requests()[1].body, HasSubstr("refresh_token=refresh%2F1&"));
  EXPECT_EQ(requests()[3].headers.at("authorization"), "Bearer token-2");
}

// Amazon Drive

class AmazonDriveAccount : public AccountTest {
 protected:
  AmazonDriveAccount() : AccountTest(Service::AmazonDrive) {}
};

constexpr char kAmazonOwner[] =
    R"({"user_id":"amzn1.account.1","email":"ann@example.test","name":"Ann Example"})";

TEST_F(AmazonDriveAccount, IsInTwoResponses) {
  const auto account =
      accountFrom({R"({"quota":5368709120,"available":4294967296,"lastCalculated":"now"})",  //
                   kAmazonOwner});
  expectAccount(account, "Ann Example", "ann@example.test", 1073741824, 5368709120);
  EXPECT_THAT(lines(), ElementsAre("GET https://drive.amazonaws.com/drive/v1/account/quota",
                                   "GET https://api.amazon.com/user/profile"));
}

TEST_F(AmazonDriveAccount, WithOddNumbersHasNoUsedSpace) {
  expectAccount(accountFrom({R"({"quota":5,"available":6})", "{}"}), "", "", -1, 5);
  expectAccount(accountFrom({R"({"quota":5,"available":-1})", "{}"}), "", "", -1, 5);
  expectAccount(accountFrom({R"({"available":6})", "{}"}), "", "", -1, -1);
}

TEST_F(AmazonDriveAccount, HasTheOwnerAloneIfTheSpaceIsWithheld) {
  for (const int status : {403, 404}) {
    enqueueJson(R"({"message":"No."})", status);
    enqueueJson(kAmazonOwner);
    expectAccount(lookUp().getResult(), "Ann Example", "ann@example.test", -1, -1);
  }
}

TEST_F(AmazonDriveAccount, HasTheSpaceAloneIfTheScopesDoNotAllowTheProfile) {
  enqueueJson(R"({"quota":5,"available":2})");
  enqueueJson(R"({"error":"insufficient_scope"})", 403);
  expectAccount(lookUp().getResult(), "", "", 3, 5);
}

// Tokens, alike for all drives

class DriveAccount : public AccountTest, public ::testing::WithParamInterface<Service> {
 protected:
  DriveAccount() : AccountTest(GetParam()) {}

  void enqueueExpired() { enqueueJson(R"({"error":{"code":"expired"}})", 401); }
  void enqueueAccount() {
    enqueueJson("{}");
    enqueueJson("{}");
  }
};

INSTANTIATE_TEST_SUITE_P(, DriveAccount,
                         ::testing::Values(Service::GoogleDrive, Service::OneDrive,
                                           Service::Dropbox, Service::AmazonDrive),
                         [](const auto& tested) {
                           switch (tested.param) {
                             case Service::GoogleDrive:
                               return "GoogleDrive";
                             case Service::OneDrive:
                               return "OneDrive";
                             case Service::Dropbox:
                               return "Dropbox";
                             default:
                               return "AmazonDrive";
                           }
                         });

TEST_P(DriveAccount, RenewsAnExpiredTokenOnceAndAtOnce) {
  enqueueExpired();
  enqueueJson(kRefreshed);
  enqueueAccount();
  EXPECT_TRUE(lookUp().isSuccess());
  EXPECT_THAT(requests()[1].body, HasSubstr("grant_type=refresh_token&refresh_token=refresh-1&"));
  EXPECT_EQ(requests()[2].uri.toString(), requests()[0].uri.toString());
  for (std::size_t index = 2; index < requests().size(); ++index) {
    EXPECT_EQ(requests()[index].headers.at("authorization"), "Bearer token-2");
  }
  for (const auto delay : delays()) EXPECT_EQ(delay, 0);
}

TEST_P(DriveAccount, HandsOutRenewedTokens) {
  const TestSupport::TokenRecorder recorder;
  enqueueExpired();
  enqueueJson(R"({"access_token":"token-2","refresh_token":"refresh-2","expires_in":3600})");
  enqueueAccount();
  EXPECT_TRUE(lookUp().isSuccess());
  const TestSupport::RenewedTokens renewed{static_cast<std::int32_t>(GetParam()), "refresh-1",
                                           "token-2", "refresh-2", 3600};
  EXPECT_THAT(recorder.received(), ElementsAre(renewed));
}

TEST_P(DriveAccount, RenewsAsTheApplicationThatTheHostHasSet) {
  const TestSupport::SettingsGuard guard;
  const vemlo_client_application application{sizeof(application), "our id", "our secret", nullptr};
  ASSERT_EQ(vemlo_client_set_application(static_cast<std::int32_t>(GetParam()), &application), 0);
  enqueueJson(kRefreshed);
  enqueueAccount();
  EXPECT_TRUE(lookUp("").isSuccess());
  EXPECT_THAT(requests()[0].body, HasSubstr("client_id=our%20id&client_secret=our%20secret"));
}

TEST_P(DriveAccount, FailsIfTheRenewedTokenIsNotAcceptedEither) {
  enqueueExpired();
  enqueueJson(kRefreshed);
  enqueueExpired();
  EXPECT_EQ(lookUp().getError().httpResponseCode, 401);
  EXPECT_EQ(requests().size(), 3U);
}

TEST_P(DriveAccount, FailsIfTheTokenCannotBeRenewed) {
  enqueueExpired();
  enqueueJson(R"({"error":"invalid_grant"})", 400);
  EXPECT_EQ(lookUp().getError().httpResponseCode, 401);
  EXPECT_EQ(requests().size(), 2U);
}

TEST_P(DriveAccount, FailsWithoutARefreshToken) {
  enqueueExpired();
  EXPECT_EQ(lookUp("token-1", "").getError().httpResponseCode, 401);
  EXPECT_EQ(requests().size(), 1U);
}

TEST_P(DriveAccount, NeedsNoAccessToken) {
  enqueueJson(kRefreshed);
  enqueueAccount();
  EXPECT_TRUE(lookUp("").isSuccess());
  EXPECT_THAT(requests()[0].body, HasSubstr("refresh_token=refresh-1"));
  EXPECT_EQ(requests()[1].headers.at("authorization"), "Bearer token-2");
}

TEST_P(DriveAccount, FailureNamesNoToken) {
  enqueueJson(R"({"error_summary":"token-1 refresh-1","error":"token-1","message":"token-1",)"
              R"("code":"token-1"})",
              503);
  const auto error = lookUp().getError();
  EXPECT_THAT(error.message + error.exceptionName, Not(HasSubstr("token-1")));
  EXPECT_EQ(requests().size(), 1U);
}

}  // namespace
