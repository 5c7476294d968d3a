#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Client/ServiceCall.h"
#include "CloudStorage/Client/S3/S3Client.h"
#include "CloudStorage/Client/SerializableWSRequest.h"
#include "libvemlo/retry_strategies.h"
#include "support/attempt_fixture.h"
#include "support/scripted_transport.h"

namespace {

namespace Http = CloudStorage::Http;
using CloudStorage::Client::ClientParts;
using CloudStorage::Client::Error;
using CloudStorage::Client::RequestPolicy;
using CloudStorage::Client::ServiceCall;
using ::testing::HasSubstr;
using ::testing::Not;

class GivenHeader : public RequestPolicy {
 public:
  explicit GivenHeader(std::string value) : value_(std::move(value)) {}
  void authorize(Http::Request& request) override {
    if (!value_.empty()) request.headers["authorization"] = value_;
  }

 private:
  std::string value_;
};

class EmptyRequest : public CloudStorage::Client::SerializableWSRequest {
 public:
  std::string serializePayload() const override { return {}; }
};

struct Nothing {};

class TransportWithSecrets : public TestSupport::ScriptedTransport {
 public:
  explicit TransportWithSecrets(std::vector<std::string> secrets) : secrets_(std::move(secrets)) {}
  std::vector<std::string> secrets() const override { return secrets_; }

 private:
  std::vector<std::string> secrets_;
};

CloudStorage::Util::Outcome<Nothing, Error> parseNothing(Http::Response&&) { return Nothing(); }

// The error of a service that repeats `secret` to a request authorized with `header`.
Error errorWith(const std::string& header, const std::string& secret,
                std::vector<std::string> secretsOfTransport = {}) {
  TestSupport::AttemptFixture fixture;
  const auto transport = std::make_shared<TransportWithSecrets>(std::move(secretsOfTransport));
  auto environment = fixture.environment();
  environment.transport = transport;
  transport->enqueue(TestSupport::response(403, "<Error><Code>Denied" + secret +
                                                    "</Code><Message>not " + secret +
                                                    ", no.</Message></Error>"));
  ClientParts parts;
  parts.retryStrategy = std::make_shared<S3RetryStrategy>(nullptr);
  parts.errorMarshaller = std::make_shared<CloudStorage::Client::S3::S3ErrorMarshaller>();
  GivenHeader policy(header);
  const ServiceCall call(parts, environment);
  return call
      .send(
          {"get", Http::Method::Get}, [] { return Http::URI::parse("https://host/").value(); },
          EmptyRequest(), policy, parseNothing)
      .getError();
}

void expectRemoved(const std::string& header, const std::string& secret) {
  const Error error = errorWith(header, secret);
  EXPECT_THAT(error.message, Not(HasSubstr(secret))) << header;
  EXPECT_THAT(error.exceptionName, Not(HasSubstr(secret))) << header;
  EXPECT_THAT(error.message, HasSubstr(", no.")) << "the rest stays";
}

TEST(ServiceCallSecrets, BearerTokenIsInNoError) {
  expectRemoved("Bearer ya29.a0AfH6SMB-token_~+/x", "ya29.a0AfH6SMB-token_~+/x");
  expectRemoved("Bearer eyJhbGciOiJub25lIn0==", "eyJhbGciOiJub25lIn0==");
}

TEST(ServiceCallSecrets, CredentialsOfTheProxyAreInNoError) {
  const std::string credentials = "dXNlcjpwYXNzd29yZA==";
  EXPECT_THAT(errorWith("", credentials).message, HasSubstr(credentials));
  EXPECT_THAT(errorWith("", credentials, {credentials}).message, Not(HasSubstr(credentials)));
}

TEST(ServiceCallSecrets, WholeBearerTokenIsInNoError) {
  for (const char* token : {"abc", "t", "abc=def", "abc:def", "abc def", "a=b c:d=="}) {
    const Error error = errorWith("Bearer " + std::string(token), token);
    EXPECT_THAT(error.message, Not(HasSubstr(token))) << token;
    EXPECT_THAT(error.exceptionName, Not(HasSubstr(token))) << token;
  }
  EXPECT_EQ(errorWith("Bearer abc=def ghi", "abc=def ghi").message, "not ***, no.");
}

TEST(ServiceCallSecrets, TextsAreTruncatedAfterTheSecretIsRemoved) {
  const std::string token(2000, 'y');
  const std::string filler(1000, 'x');
  const Error error = errorWith("Bearer " + token, filler + token + token + filler);
  EXPECT_EQ(error.message, "not " + filler + "******" + std::string(14, 'x'));
  EXPECT_EQ(error.exceptionName, "Denied" + filler + "******" + std::string(12, 'x'));
}

TEST(ServiceCallSecrets, TextsOfAnUnauthorizedRequestAreOneShortLineEach) {
  const Error error = errorWith("", std::string(2000, 'x'));
  EXPECT_EQ(error.message, "not " + std::string(1020, 'x'));
  EXPECT_EQ(error.exceptionName, "Denied" + std::string(1018, 'x'));
}

TEST(ServiceCallSecrets, SignatureOfHexadecimalDigitsIsInNoError) {
  const std::string signature = "5886bbd26b936acaea17863bbe7d18e7e1e85580a039a079d925c4776b5d5eb1";
  expectRemoved(
      "AWS4-HMAC-SHA256 Credential=key/20240229/r/s3/aws4_request, "
      "SignedHeaders=host;x-amz-date, Signature=" +
          signature,
      signature);
}

TEST(ServiceCallSecrets, PaddedBase64SignatureIsInNoError) {
  const std::string signature = "q5bYvCLVnTkK+0Ozk0sWYFMyVCEFlg0Gxn+wJ9FgE1A=";
  expectRemoved("SharedKey account:" + signature, signature);
}

}  // namespace
