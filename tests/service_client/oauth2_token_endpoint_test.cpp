#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "Auth/OAuth2TokenEndpoint.h"
#include "support/scripted_transport.h"

namespace {

using CloudStorage::Auth::OAuth2ClientSpec;
using CloudStorage::Auth::OAuth2TokenEndpoint;
using CloudStorage::Auth::TokenRefresher;
using CloudStorage::Http::Method;
using CloudStorage::Http::Response;
using CloudStorage::Util::Status;
using Kind = CloudStorage::Http::TransportFailure::Kind;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

constexpr char kRefreshToken[] = "Atzr|a+b/c=~ d";
constexpr char kClientSecret[] = "secret~&.value";

OAuth2ClientSpec clientSpec() {
  OAuth2ClientSpec spec;
  spec.clientId = "client:id";
  spec.clientSecret = kClientSecret;
  spec.redirectUri = "https://example.test/redirect.php";
  spec.authorizationEndpoint = "https://login.example.test/authorize";
  spec.tokenEndpoint = "https://login.example.test/oauth2/token?tenant=a%20b";
  return spec;
}

Response jsonResponse(int status, std::string body) {
  return TestSupport::response(status, std::move(body),
                               {{"content-type", "application/json;charset=UTF-8"}});
}

Response unreachable(bool requestMayHaveRun) {
  return TestSupport::failedResponse(Kind::Unreachable, "CURLE_COULDNT_CONNECT", "no route",
                                     requestMayHaveRun);
}

class OAuth2TokenEndpointTest : public ::testing::Test {
 protected:
  Status refresh() {
    tokens = {"old", kRefreshToken};
    return endpoint.refresh(tokens);
  }

  Status refreshWithResponse(Response response) {
    transport->enqueue(std::move(response));
    return refresh();
  }

  void expectMalformed(Response response, const std::string& text) {
    const int httpStatus = response.status;
    const auto status = refreshWithResponse(std::move(response));
    EXPECT_FALSE(status.isSuccess());
    EXPECT_EQ(status.getCode(), httpStatus);
    EXPECT_EQ(status.toString(), text);
    expectOldTokens();
  }

  void expectOldTokens() const {
    EXPECT_EQ(tokens.accessToken, "old");
    EXPECT_EQ(tokens.refreshToken, kRefreshToken);
  }

  std::shared_ptr<TestSupport::ScriptedTransport> transport =
      std::make_shared<TestSupport::ScriptedTransport>();
  OAuth2TokenEndpoint endpoint{clientSpec(), transport};
  TokenRefresher::Tokens tokens;
};

TEST_F(OAuth2TokenEndpointTest, RefreshPostsAForm) {
  EXPECT_TRUE(refreshWithResponse(jsonResponse(200, R"({"access_token":"a"})")).isSuccess());

  const auto requests = transport->requests();
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].method, Method::Post);
  EXPECT_EQ(requests[0].uri.toString(), "https://login.example.test/oauth2/token?tenant=a%20b");
  EXPECT_THAT(requests[0].headers,
              UnorderedElementsAre(Pair("content-type", "application/x-www-form-urlencoded"),
                                   Pair("accept", "application/json")));
  EXPECT_EQ(requests[0].body,
            "grant_type=refresh_token&refresh_token=Atzr%7Ca%2Bb%2Fc%3D~%20d"
            "&client_id=client%3Aid&client_secret=secret~%26.value");
}

TEST_F(OAuth2TokenEndpointTest, ReadsBothTokens) {
  EXPECT_TRUE(refreshWithResponse(jsonResponse(200, R"({
      "access_token": "ya29.a0Af", "expires_in": "3599", "refresh_token": "1\/\/0g",
      "scope": "a b", "token_type": "Bearer", "unknown": {"access_token": [1, null]}})"))
                  .isSuccess());
  EXPECT_EQ(tokens.accessToken, "ya29.a0Af");
  EXPECT_EQ(tokens.refreshToken, "1//0g");
}

TEST_F(OAuth2TokenEndpointTest, RefreshTokenIsKeptIfTheResponseHasNone) {
  for (const auto* member : {"", R"(,"refresh_token":"")", R"(,"refresh_token":null)"}) {
    SCOPED_TRACE(member);
    EXPECT_TRUE(
        refreshWithResponse(jsonResponse(200, std::string(R"({"access_token":"a")") + member + "}"))
            .isSuccess());
    EXPECT_EQ(tokens.accessToken, "a");
    EXPECT_EQ(tokens.refreshToken, kRefreshToken);
  }
}

TEST_F(OAuth2TokenEndpointTest, ReadsTheLifetime) {
  const std::pair<const char*, std::int64_t> lifetimes[] = {
      {R"(,"expires_in":3599)", 3599},
      {R"(,"expires_in":"14400")", 14400},
      {R"(,"expires_in":0)", 0},
      {"", -1},
      {R"(,"expires_in":null)", -1},
      {R"(,"expires_in":-5)", -1},
      {R"(,"expires_in":"")", -1},
      {R"(,"expires_in":"1h")", -1},
      {R"(,"expires_in":"99999999999999999999")", -1},
      {R"(,"expires_in":[3599])", -1},
  };
  for (const auto& [member, lifetime] : lifetimes) {
    SCOPED_TRACE(member);
    const std::string body = std::string(R"({"access_token":"a")") + member + '}';
    EXPECT_TRUE(refreshWithResponse(jsonResponse(200, body)).isSuccess());
    EXPECT_EQ(tokens.lifetime, lifetime);
  }
}

TEST_F(OAuth2TokenEndpointTest, EmptyClientSecretIsNotSent) {
  auto spec = clientSpec();
  spec.clientSecret.clear();
  OAuth2TokenEndpoint publicClient(spec, transport);
  transport->enqueue(jsonResponse(200, R"({"access_token":"a"})"));
  transport->enqueue(jsonResponse(200, R"({"access_token":"a"})"));
  tokens.refreshToken = "r";
  EXPECT_TRUE(publicClient.refresh(tokens).isSuccess());
  EXPECT_TRUE(publicClient.exchange({"4"}, tokens).isSuccess());
  const auto requests = transport->requests();
  EXPECT_EQ(requests.at(0).body, "grant_type=refresh_token&refresh_token=r&client_id=client%3Aid");
  EXPECT_EQ(requests.at(1).body,
            "grant_type=authorization_code&code=4&client_id=client%3Aid"
            "&redirect_uri=https%3A%2F%2Fexample.test%2Fredirect.php");
}

TEST_F(OAuth2TokenEndpointTest, CodeVerifierIsSentAndRedacted) {
  transport->enqueue(jsonResponse(
      400, R"({"error":"invalid_grant","error_description":"dBjftJeZ4CVP-mB92K27 is wrong"})"));
  EXPECT_EQ(endpoint.exchange({"4", "a b", "dBjftJeZ4CVP-mB92K27"}, tokens).toString(),
            "invalid_grant: *** is wrong");
  EXPECT_EQ(transport->requests().at(0).body,
            "grant_type=authorization_code&code=4&client_id=client%3Aid"
            "&client_secret=secret~%26.value&redirect_uri=https%3A%2F%2Fexample.test%2Fredirect.php"
            "&scope=a%20b&code_verifier=dBjftJeZ4CVP-mB92K27");
}

TEST_F(OAuth2TokenEndpointTest, ReportsWithoutACallbackDoNothing) {
  endpoint.report({"old", "used"}, {"new", "next"});
  EXPECT_THAT(transport->requests(), IsEmpty());
}

TEST_F(OAuth2TokenEndpointTest, TokenTypeIsComparedWithoutCase) {
  for (const auto* type : {"bearer", "Bearer", "BEARER"}) {
    SCOPED_TRACE(type);
    EXPECT_TRUE(refreshWithResponse(jsonResponse(200, std::string(R"({"access_token":"a",)") +
                                                          R"("token_type":")" + type + R"("})"))
                    .isSuccess());
  }
  expectMalformed(jsonResponse(200, R"({"access_token":"a","token_type":"mac"})"),
                  "MalformedResponse: the access token is no bearer token");
}

TEST_F(OAuth2TokenEndpointTest, ResponseWithoutAUsableAccessTokenIsAFailure) {
  for (const auto* body :
       {"", "{}", "[]", R"(["access_token"])", R"({"access_token":""})", R"({"access_token":null})",
        R"({"access_token":5})", R"({"access_token":"a")", R"({"access_token":"a"} trailing)",
        R"({"inner":{"access_token":"a"}})"}) {
    SCOPED_TRACE(body);
    expectMalformed(jsonResponse(200, body), "MalformedResponse: the answer holds no access token");
  }
}

TEST_F(OAuth2TokenEndpointTest, OtherContentTypeIsAFailure) {
  const std::string body = R"({"access_token":"a"})";
  expectMalformed(TestSupport::response(200, body, {{"content-type", "text/html"}}),
                  "MalformedResponse: the answer is not JSON");
  EXPECT_TRUE(
      refreshWithResponse(TestSupport::response(200, body, {{"content-type", "Application/JSON"}}))
          .isSuccess());
  EXPECT_TRUE(refreshWithResponse(TestSupport::response(200, body)).isSuccess());
}

TEST_F(OAuth2TokenEndpointTest, TokensWithControlCharactersAreRefused) {
  for (const auto* body :
       {R"({"access_token":"a\r\nx: y"})", R"({"access_token":"a\n"})", R"({"access_token":"\r"})",
        R"({"access_token":"a\u0000b"})", R"({"access_token":"a","refresh_token":"r\n"})"}) {
    SCOPED_TRACE(body);
    expectMalformed(jsonResponse(200, body),
                    "MalformedResponse: a token contains control characters");
  }
}

TEST_F(OAuth2TokenEndpointTest, RefusalHasTheTextOfTheService) {
  const auto status = refreshWithResponse(
      jsonResponse(400, R"({"error":"invalid_grant","error_description":"Token has expired."})"));
  EXPECT_EQ(status.getCode(), 400);
  EXPECT_EQ(status.toString(), "invalid_grant: Token has expired.");
  EXPECT_EQ(transport->requests().size(), 1U);
}

TEST_F(OAuth2TokenEndpointTest, RefusalWithoutADescriptionIsItsName) {
  const auto status = refreshWithResponse(jsonResponse(401, R"({"error":"invalid_client"})"));
  EXPECT_EQ(status.getCode(), 401);
  EXPECT_EQ(status.toString(), "invalid_client");
}

TEST_F(OAuth2TokenEndpointTest, RefusalIsOneLine) {
  const auto status = refreshWithResponse(jsonResponse(
      400, R"({"error":"invalid_grant","error_description":"Expired.\r\nTrace ID: 1\r\n"})"));
  EXPECT_EQ(status.toString(), "invalid_grant: Expired. Trace ID: 1");
}

TEST_F(OAuth2TokenEndpointTest, RefusalIsTruncatedBetweenCharacters) {
  std::string description;
  for (int i = 0; i < 1000; ++i) description += "\u00e4";
  const auto status = refreshWithResponse(
      jsonResponse(400, R"({"error":"e","error_description":")" + description + R"("})"));
  // "e: " leaves an odd number of bytes for characters of two.
  EXPECT_EQ(status.toString(), "e: " + description.substr(0, 1020));
}

TEST_F(OAuth2TokenEndpointTest, RefusalWithoutReadableBodyIsItsStatus) {
  for (const auto* body : {"", "<html>Bad gateway</html>", "{", R"({"error":{"code":1}})",
                           R"({"error_description":"x"})"}) {
    SCOPED_TRACE(body);
    const auto status = refreshWithResponse(jsonResponse(502, body));
    EXPECT_EQ(status.getCode(), 502);
    EXPECT_EQ(status.toString(), "HTTP 502");
  }
}

TEST_F(OAuth2TokenEndpointTest, OtherSuccessesAndRedirectsAreFailures) {
  for (const int code : {204, 302, 307}) {
    const auto status = refreshWithResponse(TestSupport::response(
        code, R"({"access_token":"a"})", {{"location", "https://elsewhere.example.test/"}}));
    EXPECT_EQ(status.getCode(), code);
    EXPECT_EQ(status.toString(), "HTTP " + std::to_string(code));
  }
  EXPECT_EQ(transport->requests().size(), 3U);
  expectOldTokens();
}

TEST_F(OAuth2TokenEndpointTest, EchoedSecretsAreRedacted) {
  const std::string echo = std::string("bad token ") + kRefreshToken + " (" + kRefreshToken +
                           ") in refresh_token=Atzr%7Ca%2Bb%2Fc%3D~%20d&client_id=client:id" +
                           "&client_secret=" + kClientSecret;
  const auto status = refreshWithResponse(
      jsonResponse(400, R"({"error":"invalid_request","error_description":")" + echo + R"("})"));
  EXPECT_EQ(status.toString(),
            "invalid_request: bad token *** (***) in refresh_token=***&client_id=client:id"
            "&client_secret=***");
}

TEST_F(OAuth2TokenEndpointTest, ShortSecretsAreRedacted) {
  transport->enqueue(
      jsonResponse(400, R"({"error":"expired","error_description":"code r=1 is bad"})"));
  tokens.refreshToken = "r=1";
  EXPECT_EQ(endpoint.refresh(tokens).toString(), "expired: code *** is bad");
}

TEST_F(OAuth2TokenEndpointTest, SecretsAreRedactedBeforeTheTextIsTruncated) {
  const std::string filler(1000, 'x');
  tokens.refreshToken = std::string(2000, 'y') + "z";
  transport->enqueue(jsonResponse(400, R"({"error":"e","error_description":")" + filler +
                                           tokens.refreshToken + R"( was quoted"})"));
  EXPECT_EQ(endpoint.refresh(tokens).toString(), "e: " + filler + "*** was quoted");
}

TEST_F(OAuth2TokenEndpointTest, EncodedSecretsAreRedacted) {
  const auto status = refreshWithResponse(jsonResponse(
      400, R"({"error":"e","error_description":"Atzr%7ca%2bb%2fc%3d~+d, Atzr|a+b\\/c=~ d, )"
           R"(QXR6cnxhK2IvYz1+IGQ=, secret~\\u0026.value"})"));
  EXPECT_EQ(status.toString(), "e: ***, ***, ***, ***");
}

TEST_F(OAuth2TokenEndpointTest, CodeIsRedacted) {
  transport->enqueue(jsonResponse(
      400, R"({"error":"invalid_grant","error_description":"4/0A and 4%2F0A: malformed"})"));
  EXPECT_EQ(endpoint.exchange({"4/0A"}, tokens).toString(),
            "invalid_grant: *** and ***: malformed");
}

TEST_F(OAuth2TokenEndpointTest, TransportFailureIsReported) {
  const auto status = refreshWithResponse(
      TestSupport::failedResponse(Kind::Timeout, "CURLE_OPERATION_TIMEDOUT", "too slow\n", true));
  EXPECT_EQ(status.getCode(), -1);
  EXPECT_EQ(status.toString(), "CURLE_OPERATION_TIMEDOUT: too slow");
}

TEST_F(OAuth2TokenEndpointTest, FailedConnectionIsRetriedOnce) {
  transport->enqueue(unreachable(false));
  EXPECT_TRUE(refreshWithResponse(jsonResponse(200, R"({"access_token":"a"})")).isSuccess());
  const auto requests = transport->requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_EQ(requests[0].body, requests[1].body);
}

TEST_F(OAuth2TokenEndpointTest, SecondFailedConnectionIsFinal) {
  transport->enqueue(unreachable(false));
  transport->enqueue(unreachable(false));
  const auto status = refreshWithResponse(jsonResponse(200, R"({"access_token":"a"})"));
  EXPECT_EQ(status.getCode(), -1);
  EXPECT_EQ(status.toString(), "CURLE_COULDNT_CONNECT: no route");
  EXPECT_EQ(transport->unusedResponses(), 1U);
}

TEST_F(OAuth2TokenEndpointTest, ConnectionThatTimedOutIsTriedTwice) {
  transport->enqueue(TestSupport::failedResponse(Kind::Timeout, "TIMEOUT", "", false));
  EXPECT_TRUE(refreshWithResponse(jsonResponse(200, R"({"access_token":"a"})")).isSuccess());
  EXPECT_EQ(transport->requests().size(), 2U);
}

TEST_F(OAuth2TokenEndpointTest, NothingElseIsRetried) {
  const Response failures[] = {
      unreachable(true),
      TestSupport::failedResponse(Kind::Timeout, "TIMEOUT", "", true),
      TestSupport::failedResponse(Kind::Interrupted, "BROKEN", "", true),
      TestSupport::failedResponse(Kind::Untrusted, "UNTRUSTED", "", false),
      TestSupport::response(429),
      TestSupport::response(503),
  };
  std::size_t sent = 0;
  for (const auto& response : failures) {
    EXPECT_FALSE(refreshWithResponse(response).isSuccess());
    EXPECT_EQ(transport->requests().size(), ++sent);
  }
}

TEST_F(OAuth2TokenEndpointTest, WithoutAUsableRefreshTokenNothingIsSent) {
  tokens = {"old", ""};
  EXPECT_EQ(endpoint.refresh(tokens).toString(), "There is no refresh token.");
  for (const char forbidden : {'\r', '\n', '\0'}) {
    tokens.refreshToken = std::string("secret") + forbidden + "x";
    const auto status = endpoint.refresh(tokens);
    EXPECT_EQ(status.getCode(), -1);
    EXPECT_EQ(status.toString(), "InvalidRequest: the refresh token contains control characters");
  }
  EXPECT_EQ(tokens.accessToken, "old");
  EXPECT_THAT(transport->requests(), IsEmpty());
}

TEST_F(OAuth2TokenEndpointTest, RequestsCarryTheWholeAccessToken) {
  EXPECT_EQ(endpoint.bearerOf("Atza|with|bars"), "Atza|with|bars");
}

TEST(OAuth2TokenEndpoint, UnusableAddressFailsWithoutARequest) {
  for (const auto* address : {"", "login.example.test/token", "ftp://login.example.test/token"}) {
    SCOPED_TRACE(address);
    auto spec = clientSpec();
    spec.tokenEndpoint = address;
    const auto transport = std::make_shared<TestSupport::ScriptedTransport>();
    OAuth2TokenEndpoint endpoint(spec, transport);
    TokenRefresher::Tokens tokens{"old", kRefreshToken};
    const auto status = endpoint.refresh(tokens);
    EXPECT_EQ(status.getCode(), -1);
    EXPECT_EQ(status.toString(), "InvalidRequest: the token endpoint's address is unusable");
    EXPECT_THAT(transport->requests(), IsEmpty());
  }
}

}  // namespace
