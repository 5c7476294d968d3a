#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "authorization_flows.h"
#include "libvemlo.h"
#include "libvemlo/constants.h"
#include "operation_world.h"
#include "support/log_capture.h"

namespace {

using CloudStorage::Auth::OAuth2RequestOptions;
using testing::_;
using testing::EndsWith;
using testing::FieldsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Return;
using testing::StartsWith;
using TestSupport::MockOneDriveClient;
using UnitTests::Flow;
using UnitTests::FlowName;
using UnitTests::kAmazonDriveFlow;
using UnitTests::kDropboxFlow;
using UnitTests::kGoogleDriveFlow;
using UnitTests::kOneDriveFlow;
using UnitTests::TextOut;

class GetAuthorizeUrl : public testing::TestWithParam<Flow> {
 protected:
  int getUrl() { return GetParam().getAuthorizeUrl(session_.handle.get(), &url_.text); }

  UnitTests::FlowSession session_ = GetParam().open();
  TextOut url_;
  TestSupport::LogCapture log_;
};

TEST_P(GetAuthorizeUrl, HandsOutTheClientsAddressAsItIs) {
  for (const char* address : {"https://host.example/authorize?a=%20b", "", "\xC3\xA4 \n"}) {
    SCOPED_TRACE(address);
    url_.reset();
    EXPECT_CALL(*session_.oauth2, buildAuthorizeUrl(_)).WillOnce(Return(address));
    ASSERT_EQ(getUrl(), 0);
    EXPECT_STREQ(url_.text, address);
  }
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(GetAuthorizeUrl, AsksForTheServicesScopeAndSetsNoState) {
  OAuth2RequestOptions options;
  EXPECT_CALL(*session_.oauth2, buildAuthorizeUrl(_))
      .WillOnce(testing::DoAll(testing::SaveArg<0>(&options), Return("")));
  ASSERT_EQ(getUrl(), 0);
  EXPECT_EQ(options.state, "");
  EXPECT_EQ(options.scope, GetParam().scope);
  EXPECT_EQ(options.maxAge, 0);
}

TEST_P(GetAuthorizeUrl, ClearsTheOutFirst) {
  EXPECT_CALL(*session_.oauth2, buildAuthorizeUrl(_)).WillOnce([this] {
    EXPECT_EQ(url_.text, nullptr);
    return "";
  });
  EXPECT_EQ(getUrl(), 0);
}

TEST_P(GetAuthorizeUrl, LeavesTheTokensAlone) {
  session_.credential->setTokens("access", "refresh");
  EXPECT_CALL(*session_.oauth2, buildAuthorizeUrl(_)).WillOnce(Return(""));
  EXPECT_EQ(getUrl(), 0);
  EXPECT_EQ(session_.credential->accessToken(), "access");
  EXPECT_EQ(session_.credential->refreshToken(), "refresh");
}

TEST_P(GetAuthorizeUrl, KeepsTheClientWhileTheSessionIsClosedAndNoLonger) {
  EXPECT_CALL(*session_.oauth2, buildAuthorizeUrl(_)).WillOnce([this] {
    session_.handle.reset();
    EXPECT_FALSE(session_.client.expired());
    return "address";
  });
  ASSERT_EQ(getUrl(), 0);
  EXPECT_STREQ(url_.text, "address");
  EXPECT_TRUE(session_.client.expired());
}

TEST_P(GetAuthorizeUrl, RefusesEachNullArgumentAndLeavesTheOutAlone) {
  EXPECT_EQ(GetParam().getAuthorizeUrl(nullptr, &url_.text), -1);
  EXPECT_EQ(GetParam().getAuthorizeUrl(session_.handle.get(), nullptr), -1);
  EXPECT_EQ(GetParam().getAuthorizeUrl(UnitTests::unreadableSession(), nullptr), -1);
  EXPECT_EQ(GetParam().getAuthorizeUrl(nullptr, nullptr), -1);
  EXPECT_EQ(url_.text, TextOut::untouched());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(GetAuthorizeUrl, RefusesASessionOfAnotherServiceAndLeavesTheOutAlone) {
  UnitTests::withSessionsOfOthersThan(GetParam().service, [this](session* other) {
    log_.clear();
    url_.reset();
    EXPECT_EQ(GetParam().getAuthorizeUrl(other, &url_.text), -1);
    EXPECT_EQ(url_.text, TextOut::untouched());
    EXPECT_THAT(log_.records(), IsEmpty());
  });
}

INSTANTIATE_TEST_SUITE_P(Drives, GetAuthorizeUrl,
                         testing::Values(kAmazonDriveFlow, kGoogleDriveFlow, kOneDriveFlow,
                                         kDropboxFlow),
                         FlowName());

// All six options of the one request for an address.
void expectOptions(const Flow& flow, const std::string& scope, const std::string& accessType,
                   const std::string& approvalPrompt, const std::string& force) {
  const auto session = flow.open();
  EXPECT_CALL(*session.oauth2,
              buildAuthorizeUrl(FieldsAre("", scope, 0, accessType, approvalPrompt, force)))
      .WillOnce(Return(""));
  TextOut url;
  EXPECT_EQ(flow.getAuthorizeUrl(session.handle.get(), &url.text), 0);
}

TEST(AmazonDriveGetAuthorizeUrl, AsksForNothingButTheScope) {
  expectOptions(kAmazonDriveFlow, kAmazonDriveFlow.scope, "", "", "");
}

TEST(GoogleDriveGetAuthorizeUrl, AsksForOfflineAccessWithAForcedApprovalPrompt) {
  expectOptions(kGoogleDriveFlow, kGoogleDriveFlow.scope, "offline", "force", "");
}

TEST(OneDriveGetAuthorizeUrl, AsksForNothingButTheScope) {
  expectOptions(kOneDriveFlow, kOneDriveFlow.scope, "", "", "");
}

TEST(DropboxGetAuthorizeUrl, PassesAnEmptyScopeAndTheForceFlag) {
  expectOptions(kDropboxFlow, "", "", "", "true");
}

// With the layer's own clients, as a host gets them.
void expectAddress(session* opened, int (*getUrl)(session*, char**), const std::string& page,
                   const std::string& clientId) {
  const UnitTests::OwnedSession handle(opened);
  TextOut url;
  ASSERT_EQ(getUrl(handle.get(), &url.text), 0);
  EXPECT_THAT(url.text, StartsWith(page + "?"));
  EXPECT_THAT(url.text, HasSubstr("client_id=" + clientId));
}

TEST(AuthorizeUrls, LeadToTheServicesConsentPages) {
  expectAddress(libvemlo_amazon_drive_init(nullptr), amazon_drive_get_authorize_url,
                libvemlo::kAmazonDriveAuthorizationEndpoint, libvemlo::kAmazonDriveClientId);
  expectAddress(libvemlo_google_drive_init(nullptr), google_drive_get_authorize_url,
                libvemlo::kGoogleDriveAuthorizationEndpoint, libvemlo::kGoogleDriveClientId);
  expectAddress(libvemlo_one_drive_init(nullptr), one_drive_get_authorize_url,
                libvemlo::kOneDriveAuthorizationEndpoint, libvemlo::kOneDriveClientId);
  expectAddress(libvemlo_dropbox_init(nullptr), dropbox_get_authorize_url,
                libvemlo::kDropboxAuthorizationEndpoint, libvemlo::kDropboxClientId);
}

class OneDriveGetLogoutUrl : public UnitTests::DriveTest<UnitTests::OneDrive> {
 protected:
  TextOut url_;
};

TEST_F(OneDriveGetLogoutUrl, HasOneParameterTheEncodedRedirectPageOfTheClient) {
  ASSERT_EQ(one_drive_get_logout_url(handle_.get(), &url_.text), 0);
  EXPECT_EQ(url_.text, libvemlo::kOneDriveLogoutEndpoint +
                           std::string("?post_logout_redirect_uri="
                                       "https%3A%2F%2Fredirect.example%2Fredirect.php"));
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(OneDriveGetLogoutUrl, LeadsToTheServicesSignOutPage) {
  EXPECT_THAT(libvemlo::kOneDriveLogoutEndpoint, StartsWith("https://"));
  EXPECT_THAT(libvemlo::kOneDriveLogoutEndpoint, EndsWith("/common/oauth2/v2.0/logout"));
}

TEST_F(OneDriveGetLogoutUrl, EncodesWhatWouldBeginAnotherParameter) {
  handle_->one_drive_client = std::make_shared<testing::StrictMock<MockOneDriveClient>>(
      "https://redirect.example/?a=b&c=d+e#f g");
  ASSERT_EQ(one_drive_get_logout_url(handle_.get(), &url_.text), 0);
  EXPECT_THAT(url_.text, EndsWith("?post_logout_redirect_uri="
                                  "https%3A%2F%2Fredirect.example%2F%3Fa%3Db%26c%3Dd%2Be%23f%20g"));
}

TEST_F(OneDriveGetLogoutUrl, RefusesEachNullArgumentAndLeavesTheOutAlone) {
  EXPECT_EQ(one_drive_get_logout_url(nullptr, &url_.text), -1);
  EXPECT_EQ(one_drive_get_logout_url(handle_.get(), nullptr), -1);
  EXPECT_EQ(one_drive_get_logout_url(UnitTests::unreadableSession(), nullptr), -1);
  EXPECT_EQ(url_.text, TextOut::untouched());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(OneDriveGetLogoutUrl, RefusesASessionOfAnotherServiceAndLeavesTheOutAlone) {
  UnitTests::withSessionsOfOthersThan("OneDrive", [this](session* other) {
    log_.clear();
    url_.reset();
    EXPECT_EQ(one_drive_get_logout_url(other, &url_.text), -1);
    EXPECT_EQ(url_.text, TextOut::untouched());
    EXPECT_THAT(log_.records(), IsEmpty());
  });
}

}  // namespace
