#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "authorization_flow_fixture.h"

// The exchange of a code for tokens, and tokens that a host has stored.
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
using TestSupport::ServiceName;
using TestSupport::TextOut;
using UnitTests::expectRefusalOfSessionsOfOthersThan;
using UnitTests::FlowTest;
using UnitTests::kAmazonDriveFlow;
using UnitTests::kDropboxFlow;
using UnitTests::kGoogleDriveFlow;
using UnitTests::kOneDriveFlow;
using UnitTests::unreadableSession;

using GetToken = FlowTest;

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

TEST_P(GetToken, SendsTheCodeUnchanged) {
  for (const char* code : {"", " ", "4/0Ab%2F&code=x", "\xC3\xA4\n"}) {
    SCOPED_TRACE(code);
    resetTokens();
    EXPECT_CALL(*session_.oauth2, exchangeAuthorizationCode(code, _, _))
        .WillOnce(Return(Status(1, "")));
    EXPECT_EQ(getToken(code), GetParam().exchangeFailure);
  }
}

TEST_P(GetToken, ReturnsTheAccessTokenAndAuthorizesTheSession) {
  exchangeWillReturn("new access", "new refresh");

  ASSERT_EQ(getToken(), 0);
  EXPECT_STREQ(access_.text, "new access");
  expectCredential("new access", "new refresh");
}

TEST_P(GetToken, ReturnsTheServicesCodeWhateverTheStatusOfTheFailureIs) {
  for (const int status : {1, -1, 340, 401, 2147483647}) {
    SCOPED_TRACE(status);
    resetTokens();
    log_.clear();
    exchangeWillReturn("access", "refresh", Status(status, "reason"));
    EXPECT_EQ(getToken(), GetParam().exchangeFailure);
    EXPECT_EQ(access_.text, nullptr);
    EXPECT_EQ(log_.records().size(), 1U);
  }
}

TEST_P(GetToken, ThatFailsKeepsTheCredentialOfTheExchange) {
  exchangeWillReturn("half", "done", Status(1, "reason"));

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

TEST_P(GetToken, DestroysTheClientOfAClosedSessionAfterTheCall) {
  session_.credential.reset();  // or the test itself would keep it
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

TEST_P(GetToken, RefusesEachNullArgumentAndLeavesTheOutsUnchanged) {
  const auto call = GetParam().authorization.getToken;
  session* handle = session_.handle.get();
  EXPECT_EQ(call(nullptr, "code", &access_.text, &refresh_.text), -1);
  EXPECT_EQ(call(handle, nullptr, &access_.text, &refresh_.text), -1);
  EXPECT_EQ(call(handle, "code", nullptr, &refresh_.text), -1);
  EXPECT_EQ(call(nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_TRUE(access_.isUntouched());
  EXPECT_TRUE(refresh_.isUntouched());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(GetToken, ChecksAllArgumentsBeforeTheSession) {
  session* handle = unreadableSession();
  EXPECT_EQ(GetParam().authorization.getToken(handle, nullptr, &access_.text, &refresh_.text), -1);
  EXPECT_EQ(GetParam().authorization.getToken(handle, "code", nullptr, &refresh_.text), -1);
}

TEST_P(GetToken, RefusesASessionOfAnotherServiceAndLeavesTheOutsUnchanged) {
  expectRefusalOfSessionsOfOthersThan(GetParam().name, [this](session* other) {
    return GetParam().authorization.getToken(other, "code", &access_.text, &refresh_.text);
  });
  EXPECT_TRUE(access_.isUntouched());
  EXPECT_TRUE(refresh_.isUntouched());
}

INSTANTIATE_TEST_SUITE_P(Drives, GetToken, UnitTests::kAllFlows, ServiceName());

// Not for Dropbox.
using GetRefreshToken = FlowTest;

TEST_P(GetRefreshToken, IsReturnedOnSuccess) {
  exchangeWillReturn("new access", "new refresh");

  ASSERT_EQ(getToken(), 0);
  EXPECT_STREQ(refresh_.text, "new refresh");
}

TEST_P(GetRefreshToken, IsClearedBeforeTheExchangeAndStaysSoOnFailure) {
  EXPECT_CALL(*session_.oauth2, exchangeAuthorizationCode(_, _, _)).WillOnce([this] {
    EXPECT_EQ(refresh_.text, nullptr);
    session_.credential->setTokens("access", "refresh");
    return Status(1, "");
  });
  EXPECT_EQ(getToken(), GetParam().exchangeFailure);
  EXPECT_EQ(refresh_.text, nullptr);
}

TEST_P(GetRefreshToken, IsRefusedIfNullBeforeAnyRequest) {
  EXPECT_EQ(
      GetParam().authorization.getToken(session_.handle.get(), "code", &access_.text, nullptr), -1);
  EXPECT_EQ(GetParam().authorization.getToken(unreadableSession(), "code", &access_.text, nullptr),
            -1);
  EXPECT_TRUE(access_.isUntouched());
  EXPECT_THAT(log_.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Drives, GetRefreshToken,
                         testing::Values(kAmazonDriveFlow, kGoogleDriveFlow, kOneDriveFlow),
                         ServiceName());

// Amazon Drive and Google Drive require both tokens.
using GetBothTokens = FlowTest;

TEST_P(GetBothTokens, AnExchangeWithoutARefreshTokenFailsAndLogsItAsEmpty) {
  exchangeWillReturn("access", "");

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
  exchangeWillReturn("", "refresh");

  EXPECT_EQ(getToken(), GetParam().exchangeFailure);
  EXPECT_EQ(access_.text, nullptr);
  EXPECT_EQ(refresh_.text, nullptr);
  EXPECT_THAT(log_.records(),
              ElementsAre(errorLine("Failed to perform exchange authorization code. "
                                    "authorizationCode = the code, success, "
                                    "accessToken = , refreshToken = refresh")));
}

TEST_P(GetBothTokens, AnExchangeWithoutAnyTokenFails) {
  exchangeWillReturn("", "");
  EXPECT_EQ(getToken(), GetParam().exchangeFailure);
}

TEST_P(GetBothTokens, ARefreshTokenThatTheSessionAlreadyHasSuffices) {
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

TEST_P(GetBothTokens, AFailureIsLoggedWithCodeStatusAndTokensInClear) {
  exchangeWillReturn("left access", "left refresh", Status(400, "invalid_grant: expired"));

  EXPECT_EQ(getToken("4/code"), GetParam().exchangeFailure);
  EXPECT_THAT(log_.records(),
              ElementsAre(errorLine("Failed to perform exchange authorization code. "
                                    "authorizationCode = 4/code, invalid_grant: expired, "
                                    "accessToken = left access, refreshToken = left refresh")));
}

TEST_P(GetBothTokens, AFailureIsLoggedWithEarlierTokensThatAreStillPresent) {
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
                         ServiceName());

// For OneDrive and Dropbox the status alone decides.
using GetTokenByStatus = FlowTest;

TEST_P(GetTokenByStatus, AnExchangeWithoutARefreshTokenSucceeds) {
  exchangeWillReturn("access", "");

  ASSERT_EQ(getToken(), 0);
  EXPECT_STREQ(access_.text, "access");
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(GetTokenByStatus, AnExchangeWithoutAnAccessTokenSucceedsWithAnEmptyOne) {
  exchangeWillReturn("", "refresh");

  ASSERT_EQ(getToken(), 0);
  EXPECT_STREQ(access_.text, "");
}

TEST_P(GetTokenByStatus, AFailureIsLoggedWithCodeAndStatusAndWithoutTokens) {
  exchangeWillReturn("left access", "left refresh", Status(400, "invalid_grant: expired"));

  EXPECT_EQ(getToken("M.code"), 343);
  EXPECT_EQ(access_.text, nullptr);
  EXPECT_THAT(log_.records(),
              ElementsAre(errorLine("Failed to perform exchange authorization code. "
                                    "authorizationCode = M.code, invalid_grant: expired")));
}

INSTANTIATE_TEST_SUITE_P(Drives, GetTokenByStatus, testing::Values(kOneDriveFlow, kDropboxFlow),
                         ServiceName());

using OneDriveGetToken = FlowTest;

TEST_P(OneDriveGetToken, WithoutARefreshTokenReturnsAnEmptyOneAndNotNull) {
  EXPECT_CALL(*session_.oauth2, exchangeAuthorizationCode(_, _, _)).WillOnce(Return(Status()));
  ASSERT_EQ(getToken(), 0);
  EXPECT_STREQ(refresh_.text, "");
}

INSTANTIATE_TEST_SUITE_P(Drives, OneDriveGetToken, testing::Values(kOneDriveFlow), ServiceName());

using SetToken = FlowTest;

TEST_P(SetToken, AuthorizesTheSessionWithoutARequest) {
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
  EXPECT_EQ(GetParam().authorization.setToken(nullptr, "access", "refresh"), -1);
  EXPECT_EQ(GetParam().authorization.setToken(nullptr, nullptr, nullptr), -1);
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(SetToken, RefusesANullAccessTokenAndKeepsTheCredential) {
  session_.credential->setTokens("old access", "old refresh");
  EXPECT_EQ(setToken(nullptr, "refresh"), -1);
  EXPECT_EQ(GetParam().authorization.setToken(unreadableSession(), nullptr, "refresh"), -1);
  expectCredential("old access", "old refresh");
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(SetToken, RefusesASessionOfAnotherService) {
  expectRefusalOfSessionsOfOthersThan(GetParam().name, [](session* other) {
    return GetParam().authorization.setToken(other, "access", "refresh");
  });
}

INSTANTIATE_TEST_SUITE_P(Drives, SetToken, UnitTests::kAllFlows, ServiceName());

using SetRefreshToken = FlowTest;

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

TEST_P(SetRefreshToken, RefusesANullOneAndKeepsTheCredential) {
  session_.credential->setTokens("old access", "old refresh");
  EXPECT_EQ(setToken("access", nullptr), -1);
  EXPECT_EQ(GetParam().authorization.setToken(unreadableSession(), "access", nullptr), -1);
  expectCredential("old access", "old refresh");
}

INSTANTIATE_TEST_SUITE_P(Drives, SetRefreshToken,
                         testing::Values(kAmazonDriveFlow, kGoogleDriveFlow, kOneDriveFlow),
                         ServiceName());

using DropboxSetToken = FlowTest;

TEST_P(DropboxSetToken, KeepsAnEarlierRefreshToken) {
  session_.credential->setTokens("old access", "old refresh");
  EXPECT_EQ(setToken("stored access", nullptr), 0);
  expectCredential("stored access", "old refresh");
}

INSTANTIATE_TEST_SUITE_P(Drives, DropboxSetToken, testing::Values(kDropboxFlow), ServiceName());

// In a layer of a host's own the credential of a client may be of another class, or null.
class WithoutCredential : public testing::TestWithParam<UnitTests::Flow> {
 protected:
  template <typename Client>
  void addClient(const TestSupport::DriveOf<Client>& drive) {
    handle_.*drive.member = std::make_shared<Client>(CloudStorage::Auth::OAuth2ClientSpec{},
                                                     CloudStorage::Client::ClientParts{},
                                                     CloudStorage::Client::ClientEnvironment{});
  }

  WithoutCredential() {
    addClient(TestSupport::kGoogleDrive);
    addClient(TestSupport::kAmazonDrive);
    addClient(TestSupport::kOneDrive);
    addClient(TestSupport::kDropbox);
  }

  session handle_;
  TestSupport::LogCapture log_;
};

TEST_P(WithoutCredential, NoTokensCanBeSet) {
  EXPECT_EQ(GetParam().authorization.setToken(&handle_, "access", "refresh"), -1);
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(WithoutCredential, AnExchangeFailsWithTheServicesCode) {
  TextOut access;
  TextOut refresh;
  EXPECT_EQ(GetParam().authorization.getToken(&handle_, "code", &access.text, &refresh.text),
            GetParam().exchangeFailure);
  EXPECT_EQ(access.text, nullptr);
  EXPECT_EQ(log_.records().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Drives, WithoutCredential, UnitTests::kAllFlows, ServiceName());

}  // namespace
