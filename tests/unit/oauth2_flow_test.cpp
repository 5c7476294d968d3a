#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>

#include "authorization_flows.h"
#include "libvemlo.h"
#include "operation_world.h"
#include "support/log_capture.h"

namespace {

using CloudStorage::Auth::OAuth2Credential;
using CloudStorage::Util::Status;
using testing::_;
using testing::ElementsAre;
using testing::FieldsAre;
using testing::IsEmpty;
using testing::Ref;
using testing::Return;
using TestSupport::errorLine;
using UnitTests::Flow;
using UnitTests::FlowName;
using UnitTests::kAmazonDriveFlow;
using UnitTests::kDropboxFlow;
using UnitTests::kGoogleDriveFlow;
using UnitTests::kOneDriveFlow;
using UnitTests::TextOut;

class TokenFlow : public testing::TestWithParam<Flow> {
 protected:
  int getToken(const char* code = "the code") {
    return GetParam().getToken(session_.handle.get(), code, &access_.text, &refresh_.text);
  }
  int setToken(const char* access, const char* refresh) {
    return GetParam().setToken(session_.handle.get(), access, refresh);
  }

  // What comes of the exchange: tokens for the credential, and a status.
  void exchangeGives(std::string access, std::string refresh, Status status = {}) {
    EXPECT_CALL(*session_.oauth2, exchangeAuthorizationCode(_, _, _))
        .WillOnce(
            [access = std::move(access), refresh = std::move(refresh), status = std::move(status)](
                const auto&, const auto&, OAuth2Credential& credential) {
              credential.setTokens(access, refresh);
              return status;
            });
  }

  void expectCredential(const std::string& access, const std::string& refresh) const {
    EXPECT_EQ(session_.credential->accessToken(), access);
    EXPECT_EQ(session_.credential->refreshToken(), refresh);
  }

  UnitTests::FlowSession session_ = GetParam().open();
  TextOut access_;
  TextOut refresh_;
  TestSupport::LogCapture log_;
};

class GetToken : public TokenFlow {};

TEST_P(GetToken, ExchangesTheCodeWithTheScopeAloneForTokensOfTheClientsCredential) {
  EXPECT_CALL(*session_.oauth2,
              exchangeAuthorizationCode("the code", FieldsAre("", GetParam().scope, 0, "", "", ""),
                                        Ref(*session_.credential)))
      .WillOnce([](const auto&, const auto&, OAuth2Credential& credential) {
        credential.setTokens("access", "refresh");
        return Status();
      });
  EXPECT_EQ(getToken(), 0);
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(GetToken, TakesTheCodeAsGiven) {
  for (const char* code : {"", " ", "4/0Ab%2F&code=x", "\xC3\xA4\n"}) {
    SCOPED_TRACE(code);
    access_.reset();
    refresh_.reset();
    EXPECT_CALL(*session_.oauth2, exchangeAuthorizationCode(code, _, _))
        .WillOnce(Return(Status(1, "")));
    EXPECT_EQ(getToken(code), GetParam().exchangeFailure);
  }
}

TEST_P(GetToken, HandsOutTheAccessTokenAndLeavesTheSessionAuthorized) {
  exchangeGives("new access", "new refresh");

  ASSERT_EQ(getToken(), 0);
  EXPECT_STREQ(access_.text, "new access");
  expectCredential("new access", "new refresh");
}

TEST_P(GetToken, FailsWithTheServicesCodeWhateverTheStatusIs) {
  for (const int status : {1, -1, 340, 401, 2147483647}) {
    SCOPED_TRACE(status);
    access_.reset();
    refresh_.reset();
    log_.clear();
    exchangeGives("access", "refresh", Status(status, "reason"));
    EXPECT_EQ(getToken(), GetParam().exchangeFailure);
    EXPECT_EQ(access_.text, nullptr);
    EXPECT_EQ(log_.records().size(), 1U);
  }
}

TEST_P(GetToken, ThatFailsLeavesTheCredentialAsTheExchangeDoes) {
  exchangeGives("half", "done", Status(1, "reason"));

  EXPECT_EQ(getToken(), GetParam().exchangeFailure);
  expectCredential("half", "done");
}

TEST_P(GetToken, ClearsItsOutsBeforeTheExchange) {
  EXPECT_CALL(*session_.oauth2, exchangeAuthorizationCode(_, _, _)).WillOnce([this] {
    EXPECT_EQ(access_.text, nullptr);
    return Status(1, "");
  });
  EXPECT_EQ(getToken(), GetParam().exchangeFailure);
}

TEST_P(GetToken, KeepsTheClientWhileTheSessionIsClosedAndNoLonger) {
  session_.credential.reset();  // the test must not be the one who keeps it
  EXPECT_CALL(*session_.oauth2, exchangeAuthorizationCode(_, _, _))
      .WillOnce([this](const auto&, const auto&, OAuth2Credential& credential) {
        session_.handle.reset();
        EXPECT_FALSE(session_.client.expired());
        credential.setTokens("access", "refresh");
        return Status();
      });

  ASSERT_EQ(getToken(), 0);
  EXPECT_STREQ(access_.text, "access");
  EXPECT_TRUE(session_.client.expired());
}

TEST_P(GetToken, RefusesEachNullArgumentAndLeavesTheOutsAlone) {
  const auto call = GetParam().getToken;
  session* handle = session_.handle.get();
  EXPECT_EQ(call(nullptr, "code", &access_.text, &refresh_.text), -1);
  EXPECT_EQ(call(handle, nullptr, &access_.text, &refresh_.text), -1);
  EXPECT_EQ(call(handle, "code", nullptr, &refresh_.text), -1);
  EXPECT_EQ(call(nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_EQ(access_.text, TextOut::untouched());
  EXPECT_EQ(refresh_.text, TextOut::untouched());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(GetToken, ChecksAllArgumentsBeforeItLooksIntoTheSession) {
  session* handle = UnitTests::unreadableSession();
  EXPECT_EQ(GetParam().getToken(handle, nullptr, &access_.text, &refresh_.text), -1);
  EXPECT_EQ(GetParam().getToken(handle, "code", nullptr, &refresh_.text), -1);
}

TEST_P(GetToken, RefusesASessionOfAnotherServiceAndLeavesTheOutsAlone) {
  UnitTests::withSessionsOfOthersThan(GetParam().service, [this](session* other) {
    log_.clear();
    access_.reset();
    EXPECT_EQ(GetParam().getToken(other, "code", &access_.text, &refresh_.text), -1);
    EXPECT_EQ(access_.text, TextOut::untouched());
    EXPECT_THAT(log_.records(), IsEmpty());
  });
}

INSTANTIATE_TEST_SUITE_P(Drives, GetToken,
                         testing::Values(kAmazonDriveFlow, kGoogleDriveFlow, kOneDriveFlow,
                                         kDropboxFlow),
                         FlowName());

// All but Dropbox hand out refresh tokens, too.
class GetRefreshToken : public TokenFlow {};

TEST_P(GetRefreshToken, HandsItOutOnSuccess) {
  exchangeGives("new access", "new refresh");

  ASSERT_EQ(getToken(), 0);
  EXPECT_STREQ(refresh_.text, "new refresh");
}

TEST_P(GetRefreshToken, ClearsItBeforeTheExchangeAndLeavesItSoOnFailure) {
  EXPECT_CALL(*session_.oauth2, exchangeAuthorizationCode(_, _, _)).WillOnce([this] {
    EXPECT_EQ(refresh_.text, nullptr);
    session_.credential->setTokens("access", "refresh");
    return Status(1, "");
  });
  EXPECT_EQ(getToken(), GetParam().exchangeFailure);
  EXPECT_EQ(refresh_.text, nullptr);
}

TEST_P(GetRefreshToken, RefusesANullOutBeforeAnyTraffic) {
  EXPECT_EQ(GetParam().getToken(session_.handle.get(), "code", &access_.text, nullptr), -1);
  EXPECT_EQ(GetParam().getToken(UnitTests::unreadableSession(), "code", &access_.text, nullptr),
            -1);
  EXPECT_EQ(access_.text, TextOut::untouched());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(GetRefreshToken, IsLeftAloneForASessionOfAnotherService) {
  UnitTests::withSessionsOfOthersThan(GetParam().service, [this](session* other) {
    refresh_.reset();
    EXPECT_EQ(GetParam().getToken(other, "code", &access_.text, &refresh_.text), -1);
    EXPECT_EQ(refresh_.text, TextOut::untouched());
  });
}

INSTANTIATE_TEST_SUITE_P(Drives, GetRefreshToken,
                         testing::Values(kAmazonDriveFlow, kGoogleDriveFlow, kOneDriveFlow),
                         FlowName());

// Amazon Drive and Google Drive insist on both tokens.
class GetBothTokens : public TokenFlow {};

TEST_P(GetBothTokens, AnExchangeWithoutARefreshTokenFailsAndShowsItEmpty) {
  exchangeGives("access", "");

  EXPECT_EQ(getToken(), GetParam().exchangeFailure);
  EXPECT_EQ(access_.text, nullptr);
  EXPECT_EQ(refresh_.text, nullptr);
  EXPECT_THAT(log_.records(),
              ElementsAre(errorLine("Failed to perform exchange authorization code. "
                                    "authorizationCode = the code, success, "
                                    "accessToken = access, refreshToken = ")));
  expectCredential("access", "");
}

TEST_P(GetBothTokens, AnExchangeWithoutAnAccessTokenFails) {
  exchangeGives("", "refresh");

  EXPECT_EQ(getToken(), GetParam().exchangeFailure);
  EXPECT_EQ(access_.text, nullptr);
  EXPECT_EQ(refresh_.text, nullptr);
  EXPECT_THAT(log_.records(),
              ElementsAre(errorLine("Failed to perform exchange authorization code. "
                                    "authorizationCode = the code, success, "
                                    "accessToken = , refreshToken = refresh")));
}

TEST_P(GetBothTokens, AnExchangeWithoutAnyTokenFails) {
  exchangeGives("", "");
  EXPECT_EQ(getToken(), GetParam().exchangeFailure);
}

TEST_P(GetBothTokens, ARefreshTokenThatTheSessionHadBeforeWillDo) {
  session_.credential->setTokens("old access", "old refresh");
  EXPECT_CALL(*session_.oauth2, exchangeAuthorizationCode(_, _, _))
      .WillOnce([](const auto&, const auto&, OAuth2Credential& credential) {
        credential.setAccessToken("new access");
        return Status();
      });

  ASSERT_EQ(getToken(), 0);
  EXPECT_STREQ(access_.text, "new access");
  EXPECT_STREQ(refresh_.text, "old refresh");
}

TEST_P(GetBothTokens, AFailureIsReportedWithCodeStatusAndTokensInClear) {
  exchangeGives("left access", "left refresh", Status(400, "invalid_grant: expired"));

  EXPECT_EQ(getToken("4/code"), GetParam().exchangeFailure);
  EXPECT_THAT(log_.records(),
              ElementsAre(errorLine("Failed to perform exchange authorization code. "
                                    "authorizationCode = 4/code, invalid_grant: expired, "
                                    "accessToken = left access, refreshToken = left refresh")));
}

TEST_P(GetBothTokens, AFailureIsReportedWithTheTokensOfBeforeIfTheyAreStillThere) {
  session_.credential->setTokens("old access", "old refresh");
  EXPECT_CALL(*session_.oauth2, exchangeAuthorizationCode(_, _, _))
      .WillOnce(Return(Status(2, "no connection")));

  EXPECT_EQ(getToken(), GetParam().exchangeFailure);
  EXPECT_EQ(access_.text, nullptr);
  EXPECT_THAT(log_.records(),
              ElementsAre(errorLine("Failed to perform exchange authorization code. "
                                    "authorizationCode = the code, no connection, "
                                    "accessToken = old access, refreshToken = old refresh")));
}

INSTANTIATE_TEST_SUITE_P(Drives, GetBothTokens, testing::Values(kAmazonDriveFlow, kGoogleDriveFlow),
                         FlowName());

// OneDrive and Dropbox believe the status.
class GetTokenByStatus : public TokenFlow {};

TEST_P(GetTokenByStatus, AnExchangeWithoutARefreshTokenSucceeds) {
  exchangeGives("access", "");

  ASSERT_EQ(getToken(), 0);
  EXPECT_STREQ(access_.text, "access");
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(GetTokenByStatus, AnExchangeWithoutAnAccessTokenSucceedsWithAnEmptyOne) {
  exchangeGives("", "refresh");

  ASSERT_EQ(getToken(), 0);
  EXPECT_STREQ(access_.text, "");
}

TEST_P(GetTokenByStatus, AFailureIsReportedWithCodeAndStatusAndWithoutTokens) {
  exchangeGives("left access", "left refresh", Status(400, "invalid_grant: expired"));

  EXPECT_EQ(getToken("M.code"), 343);
  EXPECT_EQ(access_.text, nullptr);
  EXPECT_THAT(log_.records(),
              ElementsAre(errorLine("Failed to perform exchange authorization code. "
                                    "authorizationCode = M.code, invalid_grant: expired")));
}

INSTANTIATE_TEST_SUITE_P(Drives, GetTokenByStatus, testing::Values(kOneDriveFlow, kDropboxFlow),
                         FlowName());

TEST(OneDriveGetToken, AnExchangeWithoutARefreshTokenHandsOutAnEmptyOneAndNotNull) {
  const auto session = UnitTests::openFlowSession<UnitTests::OneDrive>();
  EXPECT_CALL(*session.oauth2, exchangeAuthorizationCode(_, _, _)).WillOnce(Return(Status()));
  TextOut access;
  TextOut refresh;
  ASSERT_EQ(one_drive_get_token(session.handle.get(), "code", &access.text, &refresh.text), 0);
  EXPECT_STREQ(refresh.text, "");
}

class SetToken : public TokenFlow {};

TEST_P(SetToken, AuthorizesTheSessionWithoutAskingTheService) {
  EXPECT_EQ(setToken("stored access", "stored refresh"), 0);
  EXPECT_EQ(session_.credential->accessToken(), "stored access");
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(SetToken, ReplacesAnEarlierAccessToken) {
  session_.credential->setTokens("old access", "old refresh");
  EXPECT_EQ(setToken("stored access", "stored refresh"), 0);
  EXPECT_EQ(session_.credential->accessToken(), "stored access");
}

TEST_P(SetToken, ChecksNoToken) {
  for (const char* token : {"", " ", "line\nbreak", "\xFF"}) {
    SCOPED_TRACE(token);
    EXPECT_EQ(setToken(token, token), 0);
    EXPECT_EQ(session_.credential->accessToken(), token);
  }
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(SetToken, RefusesANullSession) {
  EXPECT_EQ(GetParam().setToken(nullptr, "access", "refresh"), -1);
  EXPECT_EQ(GetParam().setToken(nullptr, nullptr, nullptr), -1);
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(SetToken, RefusesANullAccessTokenAndKeepsWhatItHas) {
  session_.credential->setTokens("old access", "old refresh");
  EXPECT_EQ(setToken(nullptr, "refresh"), -1);
  EXPECT_EQ(GetParam().setToken(UnitTests::unreadableSession(), nullptr, "refresh"), -1);
  expectCredential("old access", "old refresh");
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(SetToken, RefusesASessionOfAnotherService) {
  UnitTests::withSessionsOfOthersThan(GetParam().service, [this](session* other) {
    log_.clear();
    EXPECT_EQ(GetParam().setToken(other, "access", "refresh"), -1);
    EXPECT_THAT(log_.records(), IsEmpty());
  });
}

INSTANTIATE_TEST_SUITE_P(Drives, SetToken,
                         testing::Values(kAmazonDriveFlow, kGoogleDriveFlow, kOneDriveFlow,
                                         kDropboxFlow),
                         FlowName());

class SetRefreshToken : public TokenFlow {};

TEST_P(SetRefreshToken, ReplacesAnEarlierOne) {
  session_.credential->setTokens("old access", "old refresh");
  EXPECT_EQ(setToken("stored access", "stored refresh"), 0);
  expectCredential("stored access", "stored refresh");
}

TEST_P(SetRefreshToken, ReplacesItEvenByAnEmptyOne) {
  session_.credential->setTokens("old access", "old refresh");
  EXPECT_EQ(setToken("stored access", ""), 0);
  expectCredential("stored access", "");
}

TEST_P(SetRefreshToken, RefusesANullOneAndKeepsWhatTheSessionHas) {
  session_.credential->setTokens("old access", "old refresh");
  EXPECT_EQ(setToken("access", nullptr), -1);
  EXPECT_EQ(GetParam().setToken(UnitTests::unreadableSession(), "access", nullptr), -1);
  expectCredential("old access", "old refresh");
}

INSTANTIATE_TEST_SUITE_P(Drives, SetRefreshToken,
                         testing::Values(kAmazonDriveFlow, kGoogleDriveFlow, kOneDriveFlow),
                         FlowName());

TEST(DropboxSetToken, LeavesAnEarlierRefreshTokenInPlace) {
  const auto session = UnitTests::openFlowSession<UnitTests::Dropbox>();
  session.credential->setTokens("old access", "old refresh");
  EXPECT_EQ(dropbox_set_token(session.handle.get(), "stored access"), 0);
  EXPECT_EQ(session.credential->accessToken(), "stored access");
  EXPECT_EQ(session.credential->refreshToken(), "old refresh");
}

// A layer of the host's own may have clients whose credential is of another kind, or none.
class WithoutCredential : public testing::Test {
 protected:
  template <typename Client>
  static std::shared_ptr<Client> makeClient() {
    return std::make_shared<Client>(CloudStorage::Auth::OAuth2ClientSpec{},
                                    CloudStorage::Client::ClientParts{},
                                    CloudStorage::Client::ClientEnvironment{});
  }

  WithoutCredential() {
    handle_.amazon_drive_client =
        makeClient<CloudStorage::Client::AmazonDrive::AmazonDriveClient>();
    handle_.google_drive_client =
        makeClient<CloudStorage::Client::GoogleDrive::GoogleDriveClient>();
    handle_.one_drive_client = makeClient<CloudStorage::Client::OneDrive::OneDriveClient>();
    handle_.dropbox_client = makeClient<CloudStorage::Client::Dropbox::DropboxClient>();
  }

  session handle_;
  TestSupport::LogCapture log_;
};

TEST_F(WithoutCredential, NoTokensCanBeSet) {
  for (const Flow& flow : {kAmazonDriveFlow, kGoogleDriveFlow, kOneDriveFlow, kDropboxFlow}) {
    SCOPED_TRACE(flow.service);
    EXPECT_EQ(flow.setToken(&handle_, "access", "refresh"), -1);
  }
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(WithoutCredential, AnExchangeFailsWithTheServicesCode) {
  for (const Flow& flow : {kAmazonDriveFlow, kGoogleDriveFlow, kOneDriveFlow, kDropboxFlow}) {
    SCOPED_TRACE(flow.service);
    log_.clear();
    TextOut access;
    TextOut refresh;
    EXPECT_EQ(flow.getToken(&handle_, "code", &access.text, &refresh.text), flow.exchangeFailure);
    EXPECT_EQ(access.text, nullptr);
    EXPECT_EQ(log_.records().size(), 1U);
  }
}

}  // namespace
