#include <gmock/gmock.h>

#include <memory>
#include <ostream>
#include <string>

#include "CloudStorage/Client/OAuth2Client.h"
#include "libvemlo/constants.h"
#include "support/services.h"

namespace {

using CloudStorage::Auth::OAuth2Credential;
using CloudStorage::Auth::TokenRefresher;
using CloudStorage::Client::OAuth2Client;
using testing::EndsWith;
using testing::FieldsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

/// The properties of an application's identity that do not depend on who builds the library.
struct Form {
  TestSupport::Drive drive;
  const char* clientId;  // regular expressions
  const char* clientSecret;
  std::size_t clientIdLength;
  std::size_t clientSecretLength;
  const char* authorizationPath;
  const char* tokenPath;
};

void PrintTo(const Form& form, std::ostream* out) { *out << form.drive.name; }

// The path of an https address. Empty for others, and for those with a query or a fragment.
std::string pathOf(const std::string& address) {
  const std::string scheme = "https://";
  if (address.compare(0, scheme.size(), scheme) != 0) return {};
  const auto slash = address.find('/', scheme.size());
  if (slash == std::string::npos || slash == scheme.size()) return {};
  if (address.find_first_of("?#") != std::string::npos) return {};
  return address.substr(slash);
}

class DriveSession : public testing::TestWithParam<Form> {
 protected:
  DriveSession() : handle_(GetParam().drive.open(nullptr)) {}

  const OAuth2Client& client() const {
    return dynamic_cast<const OAuth2Client&>(*GetParam().drive.client(*handle_));
  }
  OAuth2Credential& credential() const {
    return dynamic_cast<OAuth2Credential&>(*client().credential());
  }

  TestSupport::OwnedSession handle_;
};

TEST_P(DriveSession, IdentifiesItselfAsAnApplicationOfTheService) {
  const auto& spec = client().clientSpec();
  EXPECT_THAT(spec.clientId, MatchesRegex(GetParam().clientId));
  EXPECT_EQ(spec.clientId.size(), GetParam().clientIdLength);
  EXPECT_THAT(spec.clientSecret, MatchesRegex(GetParam().clientSecret));
  EXPECT_EQ(spec.clientSecret.size(), GetParam().clientSecretLength);
}

TEST_P(DriveSession, HasTheServicesOAuth2Endpoints) {
  EXPECT_EQ(pathOf(client().clientSpec().authorizationEndpoint), GetParam().authorizationPath);
  EXPECT_EQ(pathOf(client().clientSpec().tokenEndpoint), GetParam().tokenPath);
}

TEST_P(DriveSession, UsesTheOneRedirectPage) {
  EXPECT_EQ(client().clientSpec().redirectUri, libvemlo::kRedirectUri);
  EXPECT_EQ(pathOf(client().clientSpec().redirectUri), "/redirect.php");
}

TEST_P(DriveSession, UsesTheConfiguredConstantsAndNoRevocationEndpoint) {
  const auto& application = GetParam().drive.application;
  EXPECT_THAT(client().clientSpec(),
              FieldsAre(application.clientId, application.clientSecret, libvemlo::kRedirectUri,
                        application.authorizationEndpoint, application.tokenEndpoint, ""));
}

TEST_P(DriveSession, IsNotAuthorizedYet) {
  EXPECT_TRUE(credential().isEmpty());
  EXPECT_THAT(credential().accessToken(), IsEmpty());
  EXPECT_THAT(credential().refreshToken(), IsEmpty());
}

// Replaces the token endpoint.
class OneRefresh : public TokenRefresher {
 public:
  CloudStorage::Util::Status refresh(Tokens& tokens) override {
    ++calls;
    EXPECT_EQ(tokens.refreshToken, "refresh");
    tokens.accessToken = "fresh";
    return {};
  }

  int calls = 0;
};

TEST_P(DriveSession, ARefreshByItsRetryStrategyReachesItsClient) {
  const auto refresher = std::make_shared<OneRefresh>();
  credential().setTokenRefresher(refresher);
  credential().setTokens("stale", "refresh");
  CloudStorage::Client::Error unauthorized;
  unauthorized.httpResponseCode = 401;

  EXPECT_TRUE(client().parts().retryStrategy->shouldRetry(unauthorized, 0));
  EXPECT_EQ(refresher->calls, 1);
  EXPECT_EQ(credential().accessToken(), "fresh");
}

TEST_P(DriveSession, ItsClientIsOwnedByASharedPointer) {
  const auto& handle = *handle_;
  const long owners = handle.google_drive_client.use_count() +
                      handle.amazon_drive_client.use_count() + handle.dropbox_client.use_count() +
                      handle.one_drive_client.use_count();
  EXPECT_EQ(owners, 1);
}

INSTANTIATE_TEST_SUITE_P(
    Drives, DriveSession,
    testing::Values(Form{TestSupport::kGoogleDrive,
                         "[0-9]+-[a-z0-9]+[.]apps[.]googleusercontent[.]com", "[A-Za-z0-9-]+", 72,
                         24, "/o/oauth2/auth", "/o/oauth2/token"},
                    Form{TestSupport::kAmazonDrive, "amzn1[.]application-oa2-client[.][0-9a-f]+",
                         "[0-9a-f]+", 61, 64, "/ap/oa", "/auth/o2/token"},
                    Form{TestSupport::kOneDrive,
                         "[0-9a-f]+-[0-9a-f]+-[0-9a-f]+-[0-9a-f]+-[0-9a-f]+", "[A-Za-z0-9]+", 36,
                         23, "/common/oauth2/v2.0/authorize", "/common/oauth2/v2.0/token"},
                    Form{TestSupport::kDropbox, "[a-z0-9]+", "[a-z0-9]+", 15, 15,
                         "/oauth2/authorize", "/oauth2/token"}),
    [](const auto& instance) { return std::string(instance.param.drive.name); });

TEST(GoogleDriveClientId, IsANumberAHyphenAndAName) {
  const std::string id = libvemlo::kGoogleDriveClientId;
  EXPECT_EQ(id.find('-'), 12U);
  EXPECT_EQ(id.find('.'), 12U + 1U + 32U);
}

TEST(OneDriveClientId, IsAGuid) {
  const std::string id = libvemlo::kOneDriveClientId;
  for (const std::size_t hyphen : {8U, 13U, 18U, 23U}) EXPECT_EQ(id[hyphen], '-');
}

TEST(Constants, NameTheServices) {
  EXPECT_STREQ(libvemlo::kGoogleDriveService, "GoogleDrive");
  EXPECT_STREQ(libvemlo::kAmazonDriveService, "AmazonDrive");
  EXPECT_STREQ(libvemlo::kS3Service, "s3");
  EXPECT_STREQ(libvemlo::kDropboxService, "Dropbox");
  EXPECT_STREQ(libvemlo::kOneDriveService, "OneDrive");
  EXPECT_STREQ(libvemlo::kAzureSSBService, "AzureSSB");
  EXPECT_STREQ(libvemlo::kWasabiService, "Wasabi");
  EXPECT_STREQ(libvemlo::kDisplayName, "Cloud Drive");
  EXPECT_STREQ(libvemlo::kDownloadIgnoreMarker, "._vxcloudignore_download");
}

TEST(Constants, HoldHttpsEndpointsOfTheS3Flavours) {
  const std::string endpoints[] = {libvemlo::kS3DefaultEndpoint, libvemlo::kS3UsEast1Endpoint,
                                   libvemlo::kS3CnEndpoint, libvemlo::kWasabiEndpoint};
  for (const auto& endpoint : endpoints) {
    EXPECT_THAT(endpoint, StartsWith("https://"));
    EXPECT_THAT(endpoint, Not(EndsWith("/")));
  }
}

}  // namespace
