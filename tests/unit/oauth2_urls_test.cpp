#include <gmock/gmock.h>

#include <memory>
#include <ostream>
#include <string>

#include "authorization_flow_fixture.h"

// The addresses of the services' web pages.
namespace {

using CloudStorage::Auth::OAuth2RequestOptions;
using testing::_;
using testing::EndsWith;
using testing::FieldsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Return;
using testing::StartsWith;
using TestSupport::ServiceName;
using UnitTests::expectRefusalOfSessionsOfOthersThan;
using UnitTests::Flow;
using UnitTests::unreadableSession;

using GetAuthorizeUrl = UnitTests::FlowTest;

TEST_P(GetAuthorizeUrl, ReturnsTheClientsAddressUnchanged) {
  for (const char* address : {"https://host.example/authorize?a=%20b", "", "\xC3\xA4 \n"}) {
    SCOPED_TRACE(address);
    url_.reset();
    EXPECT_CALL(*session_.oauth2, buildAuthorizeUrl(_)).WillOnce(Return(address));
    ASSERT_EQ(getAuthorizeUrl(), 0);
    EXPECT_STREQ(url_.text, address);
  }
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(GetAuthorizeUrl, RequestsTheServicesScopeAndSetsNoState) {
  OAuth2RequestOptions options;
  EXPECT_CALL(*session_.oauth2, buildAuthorizeUrl(_))
      .WillOnce(testing::DoAll(testing::SaveArg<0>(&options), Return("")));
  ASSERT_EQ(getAuthorizeUrl(), 0);
  EXPECT_EQ(options.state, "");
  EXPECT_EQ(options.scope, GetParam().scope);
  EXPECT_EQ(options.maxAge, 0);
}

TEST_P(GetAuthorizeUrl, ClearsTheOutFirst) {
  EXPECT_CALL(*session_.oauth2, buildAuthorizeUrl(_)).WillOnce([this] {
    EXPECT_EQ(url_.text, nullptr);
    return "";
  });
  EXPECT_EQ(getAuthorizeUrl(), 0);
}

TEST_P(GetAuthorizeUrl, LeavesTheTokensUnchanged) {
  session_.credential->setTokens("access", "refresh");
  EXPECT_CALL(*session_.oauth2, buildAuthorizeUrl(_)).WillOnce(Return(""));
  EXPECT_EQ(getAuthorizeUrl(), 0);
  expectCredential("access", "refresh");
}

TEST_P(GetAuthorizeUrl, DestroysTheClientOfAClosedSessionAfterTheCall) {
  EXPECT_CALL(*session_.oauth2, buildAuthorizeUrl(_)).WillOnce([this] {
    session_.handle.reset();
    EXPECT_FALSE(session_.client.expired());
    return "address";
  });
  ASSERT_EQ(getAuthorizeUrl(), 0);
  EXPECT_STREQ(url_.text, "address");
  EXPECT_TRUE(session_.client.expired());
}

TEST_P(GetAuthorizeUrl, RefusesEachNullArgumentAndLeavesTheOutUnchanged) {
  EXPECT_EQ(GetParam().authorization.getAuthorizeUrl(nullptr, &url_.text), -1);
  EXPECT_EQ(GetParam().authorization.getAuthorizeUrl(session_.handle.get(), nullptr), -1);
  EXPECT_EQ(GetParam().authorization.getAuthorizeUrl(unreadableSession(), nullptr), -1);
  EXPECT_EQ(GetParam().authorization.getAuthorizeUrl(nullptr, nullptr), -1);
  EXPECT_TRUE(url_.isUntouched());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(GetAuthorizeUrl, RefusesASessionOfAnotherServiceAndLeavesTheOutUnchanged) {
  expectRefusalOfSessionsOfOthersThan(GetParam().name, [this](session* other) {
    return GetParam().authorization.getAuthorizeUrl(other, &url_.text);
  });
  EXPECT_TRUE(url_.isUntouched());
}

// With the client of the bundled layer, as in a host.
TEST_P(GetAuthorizeUrl, LeadsToTheServicesConsentPage) {
  session_.handle.reset(GetParam().open(nullptr));
  ASSERT_EQ(getAuthorizeUrl(), 0);
  const auto& application = GetParam().application;
  EXPECT_THAT(url_.text, StartsWith(application.authorizationEndpoint + std::string("?")));
  EXPECT_THAT(url_.text, HasSubstr(std::string("client_id=") + application.clientId));
}

INSTANTIATE_TEST_SUITE_P(Drives, GetAuthorizeUrl, UnitTests::kAllFlows, ServiceName());

/// The options that not all drives set.
struct OwnOptions {
  Flow flow;
  std::string accessType;
  std::string approvalPrompt;
  std::string forceReapprove;
};

void PrintTo(const OwnOptions& options, std::ostream* out) { *out << options.flow; }

class GetAuthorizeUrlOptions : public testing::TestWithParam<OwnOptions> {};

TEST_P(GetAuthorizeUrlOptions, AreScopeAndThoseOfTheServiceOnly) {
  const auto& [flow, accessType, approvalPrompt, forceReapprove] = GetParam();
  const auto session = flow.openSession();
  EXPECT_CALL(*session.oauth2, buildAuthorizeUrl(FieldsAre("", flow.scope, 0, accessType,
                                                           approvalPrompt, forceReapprove)))
      .WillOnce(Return(""));
  TestSupport::TextOut url;
  EXPECT_EQ(flow.authorization.getAuthorizeUrl(session.handle.get(), &url.text), 0);
}

INSTANTIATE_TEST_SUITE_P(
    Drives, GetAuthorizeUrlOptions,
    testing::Values(OwnOptions{UnitTests::kAmazonDriveFlow, "", "", ""},
                    OwnOptions{UnitTests::kGoogleDriveFlow, "offline", "force", ""},
                    OwnOptions{UnitTests::kOneDriveFlow, "", "", ""},
                    OwnOptions{UnitTests::kDropboxFlow, "", "", "true"}),
    [](const auto& instance) { return std::string(instance.param.flow.name); });

using MockOneDriveClient =
    TestSupport::MockOAuth2Client<CloudStorage::Client::OneDrive::OneDriveClient>;

class OneDriveGetLogoutUrl : public testing::Test {
 protected:
  void useRedirectUri(const std::string& uri) {
    handle_.one_drive_client = std::make_shared<testing::StrictMock<MockOneDriveClient>>(uri);
  }
  int getLogoutUrl() { return one_drive_get_logout_url(&handle_, &url_.text); }

  session handle_;
  TestSupport::TextOut url_;
  TestSupport::LogCapture log_;
};

TEST_F(OneDriveGetLogoutUrl, HasOneParameterTheEncodedRedirectPageOfTheClient) {
  useRedirectUri("https://redirect.example/redirect.php");
  ASSERT_EQ(getLogoutUrl(), 0);
  EXPECT_EQ(url_.text, libvemlo::kOneDriveLogoutEndpoint +
                           std::string("?post_logout_redirect_uri="
                                       "https%3A%2F%2Fredirect.example%2Fredirect.php"));
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(OneDriveGetLogoutUrl, LeadsToTheServicesSignOutPage) {
  EXPECT_THAT(libvemlo::kOneDriveLogoutEndpoint, StartsWith("https://"));
  EXPECT_THAT(libvemlo::kOneDriveLogoutEndpoint, EndsWith("/common/oauth2/v2.0/logout"));
}

TEST_F(OneDriveGetLogoutUrl, EncodesTheSeparatorsOfParameters) {
  useRedirectUri("https://redirect.example/?a=b&c=d+e#f g");
  ASSERT_EQ(getLogoutUrl(), 0);
  EXPECT_THAT(url_.text, EndsWith("?post_logout_redirect_uri="
                                  "https%3A%2F%2Fredirect.example%2F%3Fa%3Db%26c%3Dd%2Be%23f%20g"));
}

TEST_F(OneDriveGetLogoutUrl, RefusesEachNullArgumentAndLeavesTheOutUnchanged) {
  EXPECT_EQ(one_drive_get_logout_url(nullptr, &url_.text), -1);
  EXPECT_EQ(one_drive_get_logout_url(&handle_, nullptr), -1);
  EXPECT_EQ(one_drive_get_logout_url(unreadableSession(), nullptr), -1);
  EXPECT_TRUE(url_.isUntouched());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(OneDriveGetLogoutUrl, RefusesASessionOfAnotherServiceAndLeavesTheOutUnchanged) {
  expectRefusalOfSessionsOfOthersThan(
      "OneDrive", [this](session* other) { return one_drive_get_logout_url(other, &url_.text); });
  EXPECT_TRUE(url_.isUntouched());
}

}  // namespace
