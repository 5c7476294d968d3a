#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>
#include <utility>

#include "support/drives.h"

namespace {

namespace Client = CloudStorage::Client;
using CloudStorage::Auth::OAuth2ClientSpec;
using CloudStorage::Auth::OAuth2Credential;
using CloudStorage::Auth::OAuth2RequestOptions;
using CloudStorage::Http::Method;
using CloudStorage::Http::Response;
using CloudStorage::Util::Status;
using Kind = CloudStorage::Http::TransportFailure::Kind;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;
using TestSupport::failedResponse;
using TestSupport::response;

constexpr char kCode[] = "4/0Ab c+~=|";

// With separate tokens, independently of the build.
template <typename DriveClient>
std::shared_ptr<DriveClient> makeClient(const OAuth2ClientSpec& spec,
                                        const Client::ClientParts& parts,
                                        const Client::ClientEnvironment& environment) {
  if constexpr (std::is_same_v<DriveClient, Client::Dropbox::DropboxClient>) {
    return std::make_shared<DriveClient>(spec, parts, environment,
                                         typename DriveClient::Options{false, true});
  } else {
    return std::make_shared<DriveClient>(spec, parts, environment);
  }
}

/// A session's client at the exchange of an authorization code.
template <typename Drive>
class OAuth2Exchange : public ::testing::Test, protected TestSupport::AttemptFixture {
 protected:
  OAuth2Exchange() {
    credential->setTokens("old", "old refresh");
    Client::ClientParts parts;
    parts.credential = credential;
    OAuth2ClientSpec spec;
    spec.clientId = "client:id";
    spec.clientSecret = "client~&.secret";
    spec.redirectUri = "https://example.test/redirect.php";
    spec.authorizationEndpoint = "https://login.example.test/authorize";
    spec.tokenEndpoint = "https://login.example.test/token";
    client = makeClient<typename Drive::Client>(spec, parts, environment());
  }

  Status exchange(const std::string& scope = {}) {
    OAuth2RequestOptions options;
    options.scope = scope;
    return client->exchangeAuthorizationCode(kCode, options, *credential);
  }

  Status exchangeWithResponse(Response response) {
    enqueue(std::move(response));
    return exchange();
  }

  // The status after `response`, which must not change the credential.
  Status failureOf(Response response) {
    auto status = exchangeWithResponse(std::move(response));
    EXPECT_FALSE(status.isSuccess());
    EXPECT_EQ(credential->accessToken(), "old");
    EXPECT_EQ(credential->refreshToken(), "old refresh");
    return status;
  }

  std::shared_ptr<OAuth2Credential> credential = std::make_shared<OAuth2Credential>();
  std::shared_ptr<typename Drive::Client> client;
};

TYPED_TEST_SUITE(OAuth2Exchange, TestSupport::Drives, TestSupport::DriveName);

TYPED_TEST(OAuth2Exchange, PostsAForm) {
  this->enqueue(response(200, R"({"access_token":"a"})"));
  EXPECT_TRUE(this->exchange("files.read user:x").isSuccess());
  const auto requests = this->transport->requests();
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].method, Method::Post);
  EXPECT_EQ(requests[0].uri.toString(), "https://login.example.test/token");
  EXPECT_THAT(requests[0].headers,
              UnorderedElementsAre(Pair("content-type", "application/x-www-form-urlencoded"),
                                   Pair("accept", "application/json")));
  EXPECT_EQ(requests[0].body,
            "grant_type=authorization_code&code=4%2F0Ab%20c%2B~%3D%7C"
            "&client_id=client%3Aid&client_secret=client~%26.secret"
            "&redirect_uri=https%3A%2F%2Fexample.test%2Fredirect.php&scope=files.read%20user%3Ax");
}

TYPED_TEST(OAuth2Exchange, EmptyScopeIsNotSent) {
  EXPECT_TRUE(this->exchangeWithResponse(response(200, R"({"access_token":"a"})")).isSuccess());
  EXPECT_THAT(this->requests().at(0).body, Not(HasSubstr("scope")));
}

TYPED_TEST(OAuth2Exchange, BothTokensReplaceThoseOfTheCredential) {
  const auto status = this->exchangeWithResponse(
      response(200, R"({"access_token":"a","refresh_token":"r","expires_in":3599,"scope":"b a",
                      "id_token":"x","token_type":"Bearer"})",
               {{"content-type", "application/json; charset=utf-8"}}));
  EXPECT_EQ(status.getCode(), 0);
  EXPECT_EQ(this->credential->accessToken(), "a");
  EXPECT_EQ(this->credential->refreshToken(), "r");
}

TYPED_TEST(OAuth2Exchange, RefreshTokenOfAnotherGrantIsRemoved) {
  for (const auto* body : {R"({"access_token":"a"})", R"({"access_token":"a","refresh_token":""})",
                           R"({"access_token":"a","refresh_token":null})"}) {
    this->credential->setTokens("old", "old refresh");
    EXPECT_TRUE(this->exchangeWithResponse(response(200, body)).isSuccess());
    EXPECT_EQ(this->credential->accessToken(), "a");
    EXPECT_THAT(this->credential->refreshToken(), IsEmpty());
  }
}

TYPED_TEST(OAuth2Exchange, TokensAreStoredInTheGivenCredential) {
  OAuth2Credential other;
  this->enqueue(response(200, R"({"access_token":"a"})"));
  EXPECT_TRUE(this->client->exchangeAuthorizationCode(kCode, {}, other).isSuccess());
  EXPECT_EQ(other.accessToken(), "a");
  EXPECT_EQ(this->credential->accessToken(), "old");
}

TYPED_TEST(OAuth2Exchange, RefusalIsReportedOnOneLineAndChangesNothing) {
  const auto status = this->failureOf(response(
      400, R"({"error":"invalid_grant","error_description":"The code expired.\r\nTrace: 1"})"));
  EXPECT_EQ(status.getCode(), 400);
  EXPECT_EQ(status.toString(), "invalid_grant: The code expired. Trace: 1");
  EXPECT_EQ(this->failureOf(response(401, R"({"error":"invalid_client"})")).getCode(), 401);
}

TYPED_TEST(OAuth2Exchange, ResponsesWithoutTokensChangeNothing) {
  EXPECT_EQ(
      this->failureOf(response(200, "<html></html>", {{"content-type", "text/html"}})).getCode(),
      200);
  EXPECT_EQ(this->failureOf(response(200, R"({"refresh_token":"r"})")).toString(),
            "MalformedResponse: the answer holds no access token");
  EXPECT_EQ(this->failureOf(response(200, R"({"access_token":"a\nb"})")).toString(),
            "MalformedResponse: a token contains control characters");
  EXPECT_EQ(this->failureOf(response(200, R"({"access_token":"a","token_type":"mac"})")).toString(),
            "MalformedResponse: the access token is no bearer token");
  EXPECT_EQ(this->failureOf(response(502, "<html></html>")).toString(), "HTTP 502");
  EXPECT_EQ(this->failureOf(response(302, "", {{"location", "https://x.test/"}})).getCode(), 302);
}

TYPED_TEST(OAuth2Exchange, CodeIsSentOnce) {
  std::size_t sent = 0;
  for (const auto& response :
       {failedResponse(Kind::Timeout, "CURLE_OPERATION_TIMEDOUT", "too slow", true),
        failedResponse(Kind::Interrupted, "CURLE_RECV_ERROR", "broken", true),
        failedResponse(Kind::Unreachable, "CURLE_SSL_CONNECT_ERROR", "broken", true), response(401),
        response(429), response(503)}) {
    EXPECT_EQ(this->failureOf(response).getCode(), response.failure ? -1 : response.status);
    EXPECT_THAT(this->requests(), SizeIs(++sent));
  }
  EXPECT_THAT(this->delays(), IsEmpty());
}

TYPED_TEST(OAuth2Exchange, FailedConnectionIsRetriedOnce) {
  this->enqueue(failedResponse(Kind::Unreachable, "CURLE_COULDNT_CONNECT", "refused", false));
  EXPECT_TRUE(this->exchangeWithResponse(response(200, R"({"access_token":"a"})")).isSuccess());
  EXPECT_THAT(this->requests(), SizeIs(2));
}

TYPED_TEST(OAuth2Exchange, NeitherCodeNorSecretIsInTheStatus) {
  const auto status = this->failureOf(
      response(400, std::string(R"({"error":"invalid_grant","error_description":"code )") + kCode +
                        R"( in code=4%2F0Ab%20c%2B~%3D%7C of client~&.secret is unknown"})"));
  EXPECT_EQ(status.toString(), "invalid_grant: code *** in code=*** of *** is unknown");
}

TYPED_TEST(OAuth2Exchange, NewGrantIsRefreshedWithItsOwnToken) {
  EXPECT_TRUE(
      this->exchangeWithResponse(response(200, R"({"access_token":"a","refresh_token":"r2"})"))
          .isSuccess());
  this->enqueue(response(200, R"({"access_token":"b"})"));
  EXPECT_TRUE(this->credential->refreshAccessToken().isSuccess());
  EXPECT_THAT(this->requests().at(1).body, HasSubstr("refresh_token=r2&"));
  EXPECT_EQ(this->credential->accessToken(), "b");
  EXPECT_EQ(this->credential->refreshToken(), "r2");
}

}  // namespace
