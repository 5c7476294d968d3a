// The functions of the C interface for renewed tokens.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "libvemlo_service_client.h"
#include "support/drives.h"
#include "support/settings_guard.h"
#include "support/token_recorder.h"

namespace {

namespace Client = CloudStorage::Client;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using TestSupport::RenewedTokens;
using TestSupport::response;

/// A session whose tokens are "token-1" and "refresh-1".
template <typename Drive>
class TokenCallback : public ::testing::Test, protected TestSupport::DriveFixture<Drive> {
 protected:
  // Dropbox's tokens are separate, whatever the library was built with.
  TokenCallback() { vemlo_client_set_dropbox_durable_token(0); }

  static RenewedTokens renewed(const std::string& used, const std::string& access,
                               const std::string& refresh, std::int64_t lifetime) {
    const auto service = static_cast<std::int32_t>(typename Drive::ErrorMarshaller().service());
    return {service, used, access, refresh, lifetime};
  }

  bool refreshWith(const std::string& tokens) {
    this->enqueue(response(200, tokens));
    return this->credential->refreshAccessToken().isSuccess();
  }

 private:
  TestSupport::SettingsGuard guard_;
};
TYPED_TEST_SUITE(TokenCallback, TestSupport::Drives, TestSupport::DriveName);

TYPED_TEST(TokenCallback, ReceivesRenewedTokens) {
  const auto client = this->makeClient();
  const TestSupport::TokenRecorder recorder;
  EXPECT_TRUE(this->refreshWith(
      R"({"access_token":"token-2","refresh_token":"refresh-2","expires_in":3599})"));
  EXPECT_TRUE(this->refreshWith(R"({"access_token":"token-3","expires_in":"14400"})"));
  EXPECT_TRUE(this->refreshWith(R"({"access_token":"token-4"})"));
  EXPECT_THAT(recorder.received(),
              ElementsAre(this->renewed("refresh-1", "token-2", "refresh-2", 3599),
                          this->renewed("refresh-2", "token-3", "refresh-2", 14400),
                          this->renewed("refresh-2", "token-4", "refresh-2", -1)));
}

TYPED_TEST(TokenCallback, IsNotCalledForARefusal) {
  const auto client = this->makeClient();
  const TestSupport::TokenRecorder recorder;
  this->enqueue(response(400, R"({"error":"invalid_grant"})"));
  EXPECT_FALSE(this->credential->refreshAccessToken().isSuccess());
  EXPECT_FALSE(this->refreshWith(R"({"refresh_token":"no access token"})"));
  EXPECT_THAT(recorder.received(), IsEmpty());
}

// The host receives these tokens as a result.
TYPED_TEST(TokenCallback, IsNotCalledForTheExchangeOfACode) {
  const auto client = this->makeClient();
  const TestSupport::TokenRecorder recorder;
  this->enqueue(response(200, R"({"access_token":"a","refresh_token":"r"})"));
  EXPECT_TRUE(client->exchangeAuthorizationCode("code", {}, *this->credential).isSuccess());
  EXPECT_THAT(recorder.received(), IsEmpty());
}

TYPED_TEST(TokenCallback, CanBeRemovedAndSetWhileSessionsAreOpen) {
  const auto client = this->makeClient();
  TestSupport::TokenRecorder recorder;
  vemlo_client_set_token_callback(nullptr, &recorder);
  EXPECT_TRUE(this->refreshWith(R"({"access_token":"token-2"})"));
  EXPECT_THAT(recorder.received(), IsEmpty());
  const TestSupport::TokenRecorder later;
  EXPECT_TRUE(this->refreshWith(R"({"access_token":"token-3"})"));
  EXPECT_THAT(later.received(),
              ElementsAre(this->renewed("refresh-1", "token-3", "refresh-1", -1)));
}

TYPED_TEST(TokenCallback, MayReplaceItself) {
  const auto client = this->makeClient();
  TestSupport::TokenRecorder recorder;
  recorder.onTokens = [](auto) { vemlo_client_set_token_callback(nullptr, nullptr); };
  EXPECT_TRUE(this->refreshWith(R"({"access_token":"token-2"})"));
  EXPECT_TRUE(this->refreshWith(R"({"access_token":"token-3"})"));
  EXPECT_THAT(recorder.received(),
              ElementsAre(this->renewed("refresh-1", "token-2", "refresh-1", -1)));
}

TYPED_TEST(TokenCallback, ExceptionOfAHostsCodeDoesNotFailTheRefresh) {
  const auto client = this->makeClient();
  TestSupport::TokenRecorder recorder;
  recorder.onTokens = [](auto) { throw 7; };
  EXPECT_TRUE(this->refreshWith(R"({"access_token":"token-2"})"));
  EXPECT_TRUE(this->refreshWith(R"({"access_token":"token-3"})"));
  EXPECT_EQ(recorder.received().size(), 2U);
  EXPECT_EQ(this->credential->accessToken(), "token-3");
}

/// A session of Dropbox.
class DropboxDurableToken : public TokenCallback<TestSupport::Dropbox> {
 protected:
  std::string exchangedWith(const std::shared_ptr<Client::Dropbox::DropboxClient>& client) {
    enqueue(response(200, R"({"access_token":"token-2","refresh_token":"refresh-2"})"));
    EXPECT_TRUE(client->exchangeAuthorizationCode("code", {}, *credential).isSuccess());
    return credential->accessToken();
  }

  TestSupport::TokenRecorder recorder;
};

TEST_F(DropboxDurableToken, IsSetForSessionsThatAreOpenedLater) {
  const auto before = makeClient();
  vemlo_client_set_dropbox_durable_token(7);
  const auto after = makeClient();
  vemlo_client_set_dropbox_durable_token(0);
  const auto last = makeClient();
  EXPECT_EQ(exchangedWith(before), "token-2");
  EXPECT_EQ(exchangedWith(after), "token-2|refresh-2");
  EXPECT_EQ(exchangedWith(last), "token-2");
}

TEST_F(DropboxDurableToken, IsReportedAsADurableOne) {
  vemlo_client_set_dropbox_durable_token(1);
  const auto client = makeClient();
  EXPECT_EQ(exchangedWith(client), "token-2|refresh-2");
  EXPECT_TRUE(refreshWith(R"({"access_token":"token-3","expires_in":14400})"));
  EXPECT_EQ(credential->accessToken(), "token-3|refresh-2");
  EXPECT_TRUE(refreshWith(R"({"access_token":"token-4","refresh_token":"refresh-3"})"));
  EXPECT_THAT(recorder.received(),
              ElementsAre(renewed("refresh-2", "token-3|refresh-2", "refresh-2", 14400),
                          renewed("refresh-2", "token-4|refresh-3", "refresh-3", -1)));
}

TEST_F(DropboxDurableToken, IsTakenWhateverIsSet) {
  const auto client = makeClient();
  credential->setTokens("token-1|joined", "of another account");
  EXPECT_TRUE(refreshWith(R"({"access_token":"token-2"})"));
  EXPECT_THAT(bodies().at(0), HasSubstr("refresh_token=joined&"));
  EXPECT_THAT(recorder.received(), ElementsAre(renewed("joined", "token-2|joined", "joined", -1)));
}

// Otherwise the host would store a text that ends after some hours.
TEST_F(DropboxDurableToken, IsReportedAlsoIfTheHostHasSetAPlainToken) {
  vemlo_client_set_dropbox_durable_token(1);
  const auto client = makeClient();
  EXPECT_TRUE(refreshWith(R"({"access_token":"token-2"})"));
  EXPECT_THAT(recorder.received(),
              ElementsAre(renewed("refresh-1", "token-2|refresh-1", "refresh-1", -1)));
}

TEST_F(DropboxDurableToken, IsNotNeededForRefreshesOfItsSession) {
  const auto client = makeClient();
  EXPECT_EQ(exchangedWith(client), "token-2");
  EXPECT_TRUE(refreshWith(R"({"access_token":"token-3"})"));
  EXPECT_EQ(credential->accessToken(), "token-3");
  EXPECT_THAT(recorder.received(), ElementsAre(renewed("refresh-2", "token-3", "refresh-2", -1)));
}

}  // namespace
