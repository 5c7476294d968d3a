#include "Recording/Recorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "Auth/Digest.h"
#include "Auth/OAuth2TokenEndpoint.h"
#include "Http/CurlTransport.h"
#include "Http/PercentEncoding.h"
#include "support/recording.h"
#include "support/s3_fixture.h"

namespace {

namespace Http = CloudStorage::Http;
using CloudStorage::Auth::base64Encode;
using Http::Method;
using ::testing::HasSubstr;
using ::testing::Not;
using TestSupport::failedResponse;
using TestSupport::RecordingFile;
using TestSupport::response;

Http::Request requestTo(const std::string& url, Http::HeaderValueCollection headers = {},
                        std::string body = {}) {
  Http::Request request;
  request.method = body.empty() ? Method::Get : Method::Post;
  request.uri = *Http::URI::parse(url);
  request.headers = std::move(headers);
  request.body = std::move(body);
  return request;
}

const Http::HeaderValueCollection kForm{{"content-type", "application/x-www-form-urlencoded"}};

class Recorder : public ::testing::Test {
 protected:
  Recorder() { EXPECT_EQ(vemlo_client_start_recording(file.path().c_str()), 0); }

  /// The entry that the exchange adds.
  nlohmann::json record(const Http::Request& request, const Http::Response& response) {
    transport.enqueue(response);
    CloudStorage::Recording::send(transport, request);
    return file.entries().back();
  }

  RecordingFile file;
  TestSupport::ScriptedTransport transport;
};

TEST_F(Recorder, EntryHasAllMembersThatTheFormatRequires) {
  const auto entry =
      record(requestTo("https://a.test/b?p=x%20y&q=&r", {{"accept", "*/*"}, {"empty", ""}}, "{}"),
             response(201, "{\"n\":1}", {{"content-type", "application/json"}, {"etag", "\"1\""}}));
  EXPECT_TRUE(std::regex_match(entry.at("startedDateTime").get<std::string>(),
                               std::regex(R"(20\d\d-\d\d-\d\dT\d\d:\d\d:\d\d\.\d\d\dZ)")));
  EXPECT_TRUE(entry.at("time").is_number());
  EXPECT_EQ(entry.at("cache"), nlohmann::json::object());
  EXPECT_EQ(entry.at("timings").at("send"), 0);
  EXPECT_EQ(entry.at("timings").at("wait"), entry.at("time"));
  EXPECT_EQ(entry.at("timings").at("receive"), 0);
  EXPECT_EQ(entry.at("request"), nlohmann::json::parse(R"({
    "method": "POST", "url": "https://a.test/b?p=x%20y&q=&r", "httpVersion": "HTTP/1.1",
    "cookies": [], "headers": [{"name": "accept", "value": "*/*"}],
    "queryString": [{"name": "p", "value": "x y"}, {"name": "q", "value": ""},
                    {"name": "r", "value": ""}],
    "postData": {"mimeType": "", "text": "{}"}, "headersSize": -1, "bodySize": 2})"));
  EXPECT_EQ(entry.at("response"), nlohmann::json::parse(R"({
    "status": 201, "statusText": "", "httpVersion": "HTTP/1.1", "cookies": [],
    "headers": [{"name": "content-type", "value": "application/json"},
                {"name": "etag", "value": "\"1\""}],
    "content": {"size": 7, "mimeType": "application/json", "text": "{\"n\":1}"},
    "redirectURL": "", "headersSize": -1, "bodySize": 7})"));
}

TEST_F(Recorder, FailureOfTheTransportHasItsReason) {
  const auto entry = record(requestTo("https://a.test/"),
                            failedResponse(Http::TransportFailure::Kind::Timeout, "CURLE_X",
                                           "no data from ann@example.test", true));
  EXPECT_EQ(entry.at("response").at("status"), 0);
  EXPECT_EQ(entry.at("response").at("_error"), "CURLE_X: no data from [e-mail]");
  EXPECT_EQ(entry.at("response").at("bodySize"), -1);
}

TEST_F(Recorder, BodiesOfAnyBytesAreKept) {
  const std::string bytes("\xff\x00\n\"\\\x1f", 6);
  const auto binary = record(requestTo("https://a.test/"), response(200, bytes));
  EXPECT_EQ(binary.at("response").at("content").at("encoding"), "base64");
  EXPECT_EQ(binary.at("response").at("content").at("text"), base64Encode(bytes));
  const std::string text("\xc3\xa9\x00\n\"\\\x1f\x7f", 8);
  const auto plain = record(requestTo("https://a.test/"), response(200, text));
  EXPECT_EQ(plain.at("response").at("content").count("encoding"), 0U);
  EXPECT_EQ(plain.at("response").at("content").at("text"), text);
  const auto odd =
      record(requestTo("https://a.test/", {}, "a\xff"), response(200, "", {{"x", "\xff"}}));
  EXPECT_EQ(odd.at("request").at("postData").at("text"), "a?");
  EXPECT_EQ(odd.at("response").at("headers")[0].at("value"), "?");
}

TEST_F(Recorder, SizesAreThoseOfWhatWasSent) {
  const std::string body = R"({"access_token":"a-long-token"})";
  const auto entry = record(requestTo("https://a.test/", kForm, "code=0123456789"),
                            response(200, body, {{"content-encoding", "gzip"}}));
  EXPECT_EQ(entry.at("request").at("bodySize"), 15);
  EXPECT_EQ(entry.at("response").at("content").at("size"), body.size());
  EXPECT_EQ(entry.at("response").at("bodySize"), -1) << "its size before decompression is unknown";
}

TEST_F(Recorder, HeadersOfCredentialsAreRedacted) {
  record(requestTo("https://a.test/", {{"authorization", "Bearer the-access-token"},
                                       {"proxy-authorization", "Basic the-proxy-word"},
                                       {"x-amz-security-token", "the-session-token"},
                                       {"cookie", "a=the-cookie"}}),
         response(302, "",
                  {{"set-cookie", "a=the-new-cookie; Secure"},
                   {"location", "https://b.test/?code=the-code&x=1"},
                   {"www-authenticate", "Bearer error=\"the-access-token is bad\""}}));
  EXPECT_THAT(file.text(), Not(HasSubstr("the-")));
  const auto entry = file.entries()[0];
  EXPECT_EQ(entry.at("response").at("redirectURL"), "https://b.test/?code=[redacted]&x=1");
  EXPECT_THAT(entry.at("request").dump(), HasSubstr("Bearer [redacted]"));
  EXPECT_THAT(entry.at("response").dump(), HasSubstr("[redacted] is bad"));
}

TEST_F(Recorder, AddressStaysAnAddress) {
  const auto entry =
      record(requestTo("https://a.test/x?sig=a%2Bb&user=ann%40example.test&AWSAccessKeyId=AKIA1"),
             response(200));
  EXPECT_EQ(entry.at("request").at("url"),
            "https://a.test/x?sig=%5Bredacted%5D&user=%5Be-mail%5D&AWSAccessKeyId=%5Bredacted%5D");
  EXPECT_EQ(entry.at("request").at("queryString")[1].at("value"), "[e-mail]");
}

TEST_F(Recorder, SecretsOfTheRequestAreRedactedWhereverTheyAre) {
  const std::string token = "ya29.a0 AfH/6SMB+~\"x";
  for (const std::string& form :
       {token, Http::uriEncode(token, false), base64Encode(token), base64Encode("id:" + token),
        std::string(R"(ya29.a0\u0020AfH\/6SMB+~\"x)"),
        std::string("ya29.a0&#32;AfH&#x2F;6SMB&#43;~&quot;x"),
        Http::uriEncode(Http::uriEncode(token, false), false)}) {
    record(requestTo("https://a.test/", {{"authorization", "Bearer " + token}}),
           response(400, "You sent <" + form + '>', {{"x-detail", form}}));
  }
  for (const char* part : {"AfH", "ya29", "WEZIL", "FmSC8"}) {
    EXPECT_THAT(file.text(), Not(HasSubstr(part)));
  }
}

TEST_F(Recorder, SignaturesAndKeysOfTheRequestAreRedactedInTheResponse) {
  record(requestTo("https://a.test/", {{"authorization",
                                        "AWS4-HMAC-SHA256 Credential=AKIAKEY/20240229/us-east-1/s3/"
                                        "aws4_request, SignedHeaders=host, Signature=00ff00ff"}}),
         response(403, "The key AKIAKEY and the signature 00ff00ff do not match."));
  record(requestTo("https://a.test/", {{"authorization", "SharedKey account:c2lnbmF0dXJl/+=="}}),
         response(403, "The MAC signature found in the HTTP request 'c2lnbmF0dXJl/+==' is wrong."));
  EXPECT_THAT(file.text(), Not(HasSubstr("AKIAKEY")));
  EXPECT_THAT(file.text(), Not(HasSubstr("00ff00ff")));
  EXPECT_THAT(file.text(), Not(HasSubstr("c2lnbmF0dXJl")));
  EXPECT_THAT(file.text(), HasSubstr("Credential=[redacted]/20240229/us-east-1/s3/aws4_request"));
}

TEST_F(Recorder, SecretsOfEarlierExchangesAreRedacted) {
  record(requestTo("https://a.test/token", kForm,
                   "refresh_token=old%2Frefresh&client_secret=hush-hush"),
         response(200, R"({"access_token":"new\u002daccess","refresh_token":"new-refresh"})"));
  const auto entry = record(
      requestTo("https://a.test/new-access"),
      response(400, "old/refresh hush-hush new-access old%2frefresh bmV3LXJlZnJlc2g= new-refresh"));
  EXPECT_EQ(entry.at("response").at("content").at("text"),
            "[redacted] [redacted] [redacted] [redacted] [redacted] [redacted]");
  EXPECT_EQ(entry.at("request").at("url"), "https://a.test/%5Bredacted%5D");
}

TEST_F(Recorder, FieldsOfBodiesAreRedacted) {
  const auto entry = record(
      requestTo("https://a.test/"),
      response(400, R"({"Authorization":"Basic the-word","code":"4/0the-code-of-authorization",)"
                    R"("token":["the-first","the-second"],"proxy":"http://the-user:the-word@b/",)"
                    R"("error":{"code":"itemNotFound","status":404}})"));
  EXPECT_THAT(file.text(), Not(HasSubstr("the-")));
  EXPECT_THAT(entry.at("response").dump(), HasSubstr("itemNotFound"));
}

TEST_F(Recorder, TokenIsRedactedWhoseNameHasEscapes) {
  record(requestTo("https://a.test/token", kForm, "code=the-code"),
         response(200, R"({"acces\u0073_token":"an-access-token"})"));
  EXPECT_THAT(file.text(), Not(HasSubstr("an-access-token")));
}

TEST_F(Recorder, SecretsOfTheTransportAreRedacted) {
  struct ProxyTransport : TestSupport::ScriptedTransport {
    std::vector<std::string> secrets() const override { return {"proxy-word"}; }
  } proxy;
  proxy.enqueue(response(407, "Not proxy-word, user cHJveHktd29yZA=="));
  CloudStorage::Recording::send(proxy, requestTo("http://a.test/proxy-word"));
  EXPECT_THAT(file.text(), Not(HasSubstr("proxy-word")));
  EXPECT_THAT(file.text(), Not(HasSubstr("cHJveHkt")));
}

TEST(SecretsOfCurlTransport, AreThoseOfItsProxy) {
  Http::CurlTransport::Options options;
  options.proxy = {"user:in-address@127.0.0.1", 1, "proxy-user", "proxy-word"};
  EXPECT_THAT(Http::CurlTransport({}).secrets(), testing::IsEmpty());
  const auto secrets = Http::CurlTransport(options).secrets();
  EXPECT_THAT(secrets, testing::UnorderedElementsAre("user:in-address", "proxy-word",
                                                     base64Encode("proxy-user:proxy-word")));
}

TEST_F(Recorder, ShortTextIsNotRedactedWhereItIsByChance) {
  const auto entry = record(requestTo("https://a.test/", kForm, "state=on&code=the"),
                            response(200, R"({"access_token":"one","the":"person"})"));
  EXPECT_EQ(entry.at("response").at("content").at("text"),
            R"({"access_token":"[redacted]","the":"person"})");
}

TEST_F(Recorder, HostileTextThatResemblesASecretEnds) {
  const std::string token = std::string(16000, 'a') + 'b';
  const auto entry = record(requestTo("https://a.test/", {{"authorization", "Bearer " + token}}),
                            response(200, std::string(std::size_t{4} << 20U, 'a')));
  EXPECT_EQ(entry.at("response").at("content").at("text"), "[redacted]");
}

TEST_F(Recorder, HostileNumberOfSecretsEnds) {
  std::string body;
  for (int count = 0; count < 100000; ++count) {
    body += R"({"access_token":"a-token-)" + std::to_string(count) + "\"}\n";
  }
  record(requestTo("https://a.test/"), response(200, body));
  EXPECT_THAT(file.text(), Not(HasSubstr("a-token-")));
}

TEST(RecorderOfClients, HasTheRequestsOfCallsAndTheirRetries) {
  RecordingFile file;
  ASSERT_EQ(vemlo_client_start_recording(file.path().c_str()), 0);
  TestSupport::S3Fixture store;
  store.enqueue(response(503, TestSupport::s3Error("SlowDown")));
  store.enqueue(response(200, "<ListAllMyBucketsResult><Buckets/></ListAllMyBucketsResult>"));
  EXPECT_TRUE(store.makeClient("https://s3.amazonaws.com")->listBuckets().isSuccess());
  ASSERT_EQ(file.entries().size(), 2U);
  EXPECT_EQ(file.entries()[0].at("response").at("status"), 503);
  EXPECT_EQ(file.entries()[1].at("request").at("url"), "https://s3.amazonaws.com/");
  EXPECT_THAT(file.text(), Not(HasSubstr("AKIDVEMLOTEST0000001")));
}

TEST(RecorderOfClients, HasTheRequestsForTokens) {
  RecordingFile file;
  ASSERT_EQ(vemlo_client_start_recording(file.path().c_str()), 0);
  const auto transport = std::make_shared<TestSupport::ScriptedTransport>();
  transport->enqueue(failedResponse(Http::TransportFailure::Kind::Unreachable, "NO", "no", false));
  transport->enqueue(response(200, R"({"access_token":"fresh-access-token"})",
                              {{"content-type", "application/json"}}));
  CloudStorage::Auth::OAuth2ClientSpec spec;
  spec.tokenEndpoint = "https://a.test/token";
  spec.clientId = "the-app";
  spec.clientSecret = "the-client-secret";
  CloudStorage::Auth::TokenRefresher::Tokens tokens;
  CloudStorage::Auth::OAuth2TokenEndpoint endpoint(spec, transport);
  EXPECT_TRUE(endpoint.exchange({"the-code"}, tokens).isSuccess());
  EXPECT_EQ(tokens.accessToken, "fresh-access-token");
  ASSERT_EQ(file.entries().size(), 2U);
  EXPECT_THAT(file.entries()[1].at("request").at("postData").at("text").get<std::string>(),
              HasSubstr("code=[redacted]&client_id=the-app&client_secret=[redacted]"));
  EXPECT_THAT(file.text(), Not(HasSubstr("fresh-access-token")));
}

}  // namespace
