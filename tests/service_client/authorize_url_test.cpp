#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "support/scripted_transport.h"

namespace {

namespace Client = CloudStorage::Client;
using CloudStorage::Auth::OAuth2ClientSpec;
using CloudStorage::Auth::OAuth2RequestOptions;
using ::testing::IsEmpty;

OAuth2ClientSpec clientSpec(const std::string& authorizationEndpoint) {
  OAuth2ClientSpec spec;
  spec.clientId = "client:id";
  spec.clientSecret = "client secret";
  spec.redirectUri = "https://example.test/redirect.php";
  spec.authorizationEndpoint = authorizationEndpoint;
  spec.tokenEndpoint = "https://login.example.test/token";
  return spec;
}

OAuth2RequestOptions withScope(const std::string& scope) {
  OAuth2RequestOptions options;
  options.scope = scope;
  return options;
}

/// All options.
OAuth2RequestOptions allOptions() {
  OAuth2RequestOptions options;
  options.state = "st&te";
  options.scope = "a b";
  options.maxAge = 7;
  options.accessType = "offline";
  options.approvalPrompt = "force";
  options.forceReapprove = "true";
  return options;
}

template <typename DriveClient>
std::string urlOf(const std::string& authorizationEndpoint, const OAuth2RequestOptions& options) {
  const auto transport = std::make_shared<TestSupport::ScriptedTransport>();
  Client::ClientEnvironment environment;
  environment.transport = transport;
  const auto client = std::make_shared<DriveClient>(clientSpec(authorizationEndpoint),
                                                    Client::ClientParts{}, environment);
  auto url = client->buildAuthorizeUrl(options);
  EXPECT_THAT(transport->requests(), IsEmpty());
  return url;
}

const auto amazonUrl = urlOf<Client::AmazonDrive::AmazonDriveClient>;
const auto dropboxUrl = urlOf<Client::Dropbox::DropboxClient>;
const auto googleUrl = urlOf<Client::GoogleDrive::GoogleDriveClient>;
const auto microsoftUrl = urlOf<Client::OneDrive::OneDriveClient>;

TEST(AuthorizeUrl, Amazon) {
  EXPECT_EQ(amazonUrl("https://www.amazon.com/ap/oa",
                      withScope("profile clouddrive:read_all clouddrive:write")),
            "https://www.amazon.com/ap/oa?client_id=client%3Aid&response_type=code"
            "&redirect_uri=https%3A%2F%2Fexample.test%2Fredirect.php"
            "&scope=profile%20clouddrive%3Aread_all%20clouddrive%3Awrite");
}

TEST(AuthorizeUrl, Google) {
  auto options = withScope("email profile https://www.googleapis.com/auth/drive");
  options.accessType = "offline";
  options.approvalPrompt = "force";
  EXPECT_EQ(googleUrl("https://accounts.google.com/o/oauth2/auth", options),
            "https://accounts.google.com/o/oauth2/auth?client_id=client%3Aid&response_type=code"
            "&redirect_uri=https%3A%2F%2Fexample.test%2Fredirect.php"
            "&scope=email%20profile%20https%3A%2F%2Fwww.googleapis.com%2Fauth%2Fdrive"
            "&access_type=offline&prompt=consent");
}

TEST(AuthorizeUrl, Microsoft) {
  EXPECT_EQ(
      microsoftUrl(
          "https://login.microsoftonline.com/common/oauth2/v2.0/authorize",
          withScope("https://graph.microsoft.com/files.readwrite user.read offline_access")),
      "https://login.microsoftonline.com/common/oauth2/v2.0/authorize?client_id=client%3Aid"
      "&response_type=code&redirect_uri=https%3A%2F%2Fexample.test%2Fredirect.php"
      "&scope=https%3A%2F%2Fgraph.microsoft.com%2Ffiles.readwrite%20user.read%20offline_access"
      "&response_mode=query");
}

// What the option of the build adds to Dropbox's address.
const std::string kOfflineAccess = VEMLO_DROPBOX_OFFLINE_ACCESS ? "&token_access_type=offline" : "";

TEST(AuthorizeUrl, Dropbox) {
  OAuth2RequestOptions options;
  options.forceReapprove = "true";
  EXPECT_EQ(dropboxUrl("https://www.dropbox.com/oauth2/authorize", options),
            "https://www.dropbox.com/oauth2/authorize?client_id=client%3Aid&response_type=code"
            "&redirect_uri=https%3A%2F%2Fexample.test%2Fredirect.php"
            "&force_reapprove=true" +
                kOfflineAccess);
}

constexpr char kCommon[] =
    "https://x.test/?client_id=client%3Aid&response_type=code"
    "&redirect_uri=https%3A%2F%2Fexample.test%2Fredirect.php";

TEST(AuthorizeUrl, EmptyOptionsAreOmitted) {
  EXPECT_EQ(amazonUrl("https://x.test/", {}), kCommon);
  EXPECT_EQ(googleUrl("https://x.test/", {}), kCommon);
  EXPECT_EQ(microsoftUrl("https://x.test/", {}), kCommon + std::string("&response_mode=query"));
  EXPECT_EQ(dropboxUrl("https://x.test/", {}), kCommon + kOfflineAccess);
}

TEST(AuthorizeUrl, EachServiceGetsTheOptionsThatItSupports) {
  const std::string common = kCommon + std::string("&scope=a%20b&state=st%26te");
  EXPECT_EQ(amazonUrl("https://x.test/", allOptions()), common);
  EXPECT_EQ(googleUrl("https://x.test/", allOptions()),
            common + "&access_type=offline&prompt=consent");
  EXPECT_EQ(microsoftUrl("https://x.test/", allOptions()), common + "&response_mode=query");
  EXPECT_EQ(dropboxUrl("https://x.test/", allOptions()),
            common + "&force_reapprove=true" + kOfflineAccess);
}

TEST(AuthorizeUrl, DropboxIsAskedForOfflineAccessIfTheBuildAsks) {
  for (const bool asks : {true, false}) {
    const auto client = std::make_shared<Client::Dropbox::DropboxClient>(
        clientSpec("https://x.test/"), Client::ClientParts{}, Client::ClientEnvironment{},
        Client::Dropbox::DropboxClient::Options{false, asks});
    EXPECT_EQ(client->buildAuthorizeUrl({}),
              kCommon + std::string(asks ? "&token_access_type=offline" : ""));
  }
}

TEST(AuthorizeUrl, OtherApprovalPromptsOfGoogleKeepTheirName) {
  OAuth2RequestOptions options;
  options.approvalPrompt = "auto";
  EXPECT_EQ(googleUrl("https://x.test/", options), kCommon + std::string("&approval_prompt=auto"));
}

TEST(AuthorizeUrl, ValuesAreEncoded) {
  OAuth2RequestOptions options;
  options.scope = "+/=%'()!*~\xC3\xA4";
  EXPECT_EQ(amazonUrl("https://x.test/", options),
            kCommon + std::string("&scope=%2B%2F%3D%25%27%28%29%21%2A~%C3%A4"));
}

TEST(AuthorizeUrl, AddressWithAQueryKeepsIt) {
  EXPECT_EQ(amazonUrl("https://x.test/?tenant=a%20b", {}),
            "https://x.test/?tenant=a%20b&client_id=client%3Aid&response_type=code"
            "&redirect_uri=https%3A%2F%2Fexample.test%2Fredirect.php");
}

TEST(AuthorizeUrl, NoSecretIsInIt) {
  EXPECT_THAT(amazonUrl("https://x.test/", allOptions()),
              ::testing::Not(::testing::HasSubstr("secret")));
}

}  // namespace
