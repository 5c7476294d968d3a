#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "support/dropbox_fixture.h"

namespace {

namespace Client = CloudStorage::Client;
namespace Model = Client::Dropbox::Model;
using CloudStorage::Auth::OAuth2ClientSpec;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using TestSupport::response;

constexpr char kEmptyFolder[] = R"({"entries":[],"cursor":"c","has_more":false})";

/// A client of either build.
class DropboxTokens : public ::testing::TestWithParam<bool>, protected TestSupport::DropboxFixture {
 protected:
  DropboxTokens() {
    Client::ClientParts parts;
    parts.credential = credential;
    parts.retryStrategy = strategy;
    parts.errorMarshaller = std::make_shared<Client::Dropbox::DropboxErrorMarshaller>();
    OAuth2ClientSpec spec;
    spec.clientId = "id";
    spec.clientSecret = "client secret";
    spec.tokenEndpoint = "https://login.example.test/token";
    client = std::make_shared<Client::Dropbox::DropboxClient>(
        spec, parts, environment(), Client::Dropbox::DropboxClient::Options{GetParam(), true});
  }

  bool list() {
    Model::ListFolderRequest request;
    request.path = "";
    return client->listFolder(request).isSuccess();
  }

  // A call that succeeds after a 401 and a refresh with the response `tokens`.
  void listWithRefresh(const std::string& tokens) {
    enqueue(response(401, R"({"error_summary":"expired_access_token/.."})"));
    enqueue(response(200, tokens));
    enqueue(response(200, kEmptyFolder));
    EXPECT_TRUE(list());
  }

  bool exchange(const std::string& tokens) {
    enqueue(response(200, tokens));
    return client->exchangeAuthorizationCode("code", {}, *credential).isSuccess();
  }

  // The authorization of each request, or "none".
  std::vector<std::string> bearers() const {
    std::vector<std::string> texts;
    for (const auto& request : requests()) {
      const auto header = request.headers.find("authorization");
      texts.push_back(header == request.headers.end() ? "none" : header->second);
    }
    return texts;
  }

  std::shared_ptr<Client::Dropbox::DropboxClient> client;
};
INSTANTIATE_TEST_SUITE_P(Builds, DropboxTokens, ::testing::Bool(),
                         [](const auto& build) { return build.param ? "JoiningTokens" : "Plain"; });

TEST_P(DropboxTokens, TextWithoutABarIsAnAccessToken) {
  credential->setTokens("sl.B-plain", "");
  enqueue(response(200, kEmptyFolder));
  EXPECT_TRUE(list());
  EXPECT_THAT(bearers(), ElementsAre("Bearer sl.B-plain"));
}

TEST_P(DropboxTokens, PlainTokenIsRefreshedWithTheRefreshTokenOfItsSession) {
  credential->setTokens("old", "session's");
  listWithRefresh(R"({"access_token":"new"})");
  EXPECT_THAT(bearers(), ElementsAre("Bearer old", "none", "Bearer new"));
  EXPECT_THAT(bodies().at(1), HasSubstr("refresh_token=session%27s&"));
  EXPECT_EQ(credential->accessToken(), "new");
  EXPECT_EQ(credential->refreshToken(), "session's");
}

TEST_P(DropboxTokens, RequestsCarryTheTextBeforeTheBar) {
  credential->setTokens("sl.B-access|refresh", "");
  enqueue(response(200, kEmptyFolder));
  EXPECT_TRUE(list());
  EXPECT_THAT(bearers(), ElementsAre("Bearer sl.B-access"));
}

TEST_P(DropboxTokens, RefreshUsesTheTextAfterTheBarAndKeepsIt) {
  credential->setTokens("old|joined", "");
  listWithRefresh(R"({"access_token":"new"})");
  EXPECT_THAT(bearers(), ElementsAre("Bearer old", "none", "Bearer new"));
  EXPECT_THAT(bodies().at(1), HasSubstr("refresh_token=joined&"));
  EXPECT_EQ(credential->accessToken(), "new|joined");
  EXPECT_THAT(credential->refreshToken(), IsEmpty());
}

TEST_P(DropboxTokens, RotatedRefreshTokenReplacesTheTextAfterTheBar) {
  credential->setTokens("old|joined", "");
  listWithRefresh(R"({"access_token":"new","refresh_token":"rotated"})");
  EXPECT_EQ(credential->accessToken(), "new|rotated");
}

// A host that sets the text of one account does not remove the refresh token of another.
TEST_P(DropboxTokens, RefreshTokenAfterTheBarHasPrecedenceOverTheSessions) {
  credential->setTokens("old|joined", "of another account");
  listWithRefresh(R"({"access_token":"new"})");
  EXPECT_THAT(bodies().at(1), HasSubstr("refresh_token=joined&"));
  EXPECT_EQ(credential->accessToken(), "new|joined");
  EXPECT_EQ(credential->refreshToken(), "of another account");
}

TEST_P(DropboxTokens, EmptyTextAfterTheBarIsNoRefreshToken) {
  credential->setTokens("old|", "session's");
  listWithRefresh(R"({"access_token":"new"})");
  EXPECT_THAT(bearers(), ElementsAre("Bearer old", "none", "Bearer new"));
  EXPECT_THAT(bodies().at(1), HasSubstr("refresh_token=session%27s&"));
  EXPECT_EQ(credential->accessToken(), "new");
}

TEST_P(DropboxTokens, EmptyTextBeforeTheBarIsNoAccessToken) {
  credential->setTokens("|joined", "");
  enqueue(response(200, R"({"access_token":"new"})"));
  enqueue(response(200, kEmptyFolder));
  EXPECT_TRUE(list());
  EXPECT_THAT(bearers(), ElementsAre("none", "Bearer new"));
  EXPECT_EQ(credential->accessToken(), "new|joined");
}

TEST_P(DropboxTokens, RefusedRefreshChangesNothing) {
  credential->setTokens("old|joined-token", "");
  enqueue(
      response(400, R"({"error":"invalid_grant","error_description":"joined-token is revoked"})"));
  const auto status = credential->refreshAccessToken();
  EXPECT_EQ(status.getCode(), 400);
  EXPECT_EQ(status.toString(), "invalid_grant: *** is revoked");
  EXPECT_EQ(credential->accessToken(), "old|joined-token");
}

TEST_P(DropboxTokens, EchoedTokenIsRedacted) {
  credential->setTokens("sl.B-access-token|refresh", "");
  enqueue(response(400, "no such token: sl.B-access-token"));
  Model::ListFolderRequest request;
  request.path = "";
  EXPECT_THAT(client->listFolder(request).getError().message, HasSubstr("no such token: ***"));
}

TEST_P(DropboxTokens, ExchangeJoinsBothIfTheBuildJoinsTokens) {
  EXPECT_TRUE(exchange(R"({"access_token":"access","refresh_token":"refresh"})"));
  EXPECT_EQ(credential->accessToken(), GetParam() ? "access|refresh" : "access");
  EXPECT_EQ(credential->refreshToken(), "refresh");

  listWithRefresh(R"({"access_token":"new"})");
  EXPECT_THAT(bearers(), ElementsAre("none", "Bearer access", "none", "Bearer new"));
  EXPECT_THAT(bodies().at(2), HasSubstr("refresh_token=refresh&"));
  EXPECT_EQ(credential->accessToken(), GetParam() ? "new|refresh" : "new");
}

TEST_P(DropboxTokens, ExchangeWithoutARefreshTokenGivesAPlainText) {
  EXPECT_TRUE(exchange(R"({"access_token":"access"})"));
  EXPECT_EQ(credential->accessToken(), "access");
  EXPECT_THAT(credential->refreshToken(), IsEmpty());
}

TEST_P(DropboxTokens, FailedExchangeChangesNothing) {
  credential->setTokens("old|joined", "session's");
  EXPECT_FALSE(exchange(R"({"refresh_token":"refresh"})"));
  EXPECT_EQ(credential->accessToken(), "old|joined");
  EXPECT_EQ(credential->refreshToken(), "session's");
}

// The option of the build is off by default.
TEST(DropboxTokensOfThisBuild, AreJoinedIfTheOptionIsSet) {
  TestSupport::DropboxFixture fixture;
  fixture.enqueue(response(200, R"({"access_token":"access","refresh_token":"refresh"})"));
  EXPECT_TRUE(
      fixture.makeClient()->exchangeAuthorizationCode("code", {}, *fixture.credential).isSuccess());
  EXPECT_EQ(fixture.credential->accessToken(),
            VEMLO_DROPBOX_DURABLE_TOKEN ? "access|refresh" : "access");
}

// Amazon's tokens contain bars, too.
TEST(AmazonTokens, AreSentWhole) {
  TestSupport::AttemptFixture fixture;
  const auto credential = std::make_shared<CloudStorage::Auth::OAuth2Credential>();
  Client::ClientParts parts;
  parts.credential = credential;
  const auto client = std::make_shared<Client::AmazonDrive::AmazonDriveClient>(
      OAuth2ClientSpec{}, parts, fixture.environment());
  credential->setTokens("Atza|access", "Atzr|refresh");
  EXPECT_EQ(credential->accessTokenForAttempt(), "Atza|access");
}

}  // namespace
