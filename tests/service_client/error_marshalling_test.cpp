#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "Client/ErrorMarshalling.h"
#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "CloudStorage/Client/S3/S3Client.h"
#include "support/error_expectation.h"
#include "support/responses.h"

namespace {

using namespace CloudStorage::Client;  // NOLINT: everything under test
using CloudStorage::Http::Method;
using CloudStorage::Http::Response;
using TestSupport::response;
using Kind = CloudStorage::Http::TransportFailure::Kind;

constexpr ErrorRow kRows[] = {
    {409, "path/full", CoreErrors::QuotaExceeded, Retry::Never},
    {kAnyStatus, "Odd", CoreErrors::Throttled, Retry::Always},
    {500, "", CoreErrors::ServiceFailure, Retry::Reads},
    {500, "Never reached", CoreErrors::Rejected, Retry::Always},
};

ServiceMessage readNoMessage(const Response& /*response*/) { return {}; }

CoreErrors typeOf(int status, const std::string& code) {
  return responseError(response(status), Method::Get, {code, ""}, kRows).errorType;
}

bool isRetryable(int status, Method method) {
  return responseError(response(status), method, {}, kRows).retryable;
}

TEST(ErrorOfResponse, FirstRowThatAppliesCounts) {
  EXPECT_EQ(typeOf(500, "Never reached"), CoreErrors::ServiceFailure);
}

TEST(ErrorOfResponse, RowAppliesToItsStatusOnly) {
  EXPECT_EQ(typeOf(409, "path/full"), CoreErrors::QuotaExceeded);
  EXPECT_EQ(typeOf(403, "path/full"), CoreErrors::AccessDenied);
}

TEST(ErrorOfResponse, RowForAnyStatusAppliesToItsCode) {
  EXPECT_EQ(typeOf(200, "Odd"), CoreErrors::Throttled);
  EXPECT_EQ(typeOf(404, "Odd"), CoreErrors::Throttled);
}

TEST(ErrorOfResponse, RowAppliesToSubcodesOfItsCode) {
  EXPECT_EQ(typeOf(409, "path/full/team"), CoreErrors::QuotaExceeded);
  EXPECT_EQ(typeOf(409, "path/fuller"), CoreErrors::Conflict);
  EXPECT_EQ(typeOf(409, "path"), CoreErrors::Conflict);
  EXPECT_EQ(typeOf(409, ""), CoreErrors::Conflict);
}

TEST(ErrorOfResponse, CodesAreCaseSensitive) {
  EXPECT_EQ(typeOf(404, "odd"), CoreErrors::NotFound);
}

TEST(ErrorOfResponse, OnlyReadsAreRetryableInARowForReads) {
  EXPECT_TRUE(isRetryable(500, Method::Get));
  EXPECT_TRUE(isRetryable(500, Method::Head));
  EXPECT_FALSE(isRetryable(500, Method::Post));
  EXPECT_FALSE(isRetryable(500, Method::Put));
}

TEST(ErrorOfResponse, TextsAreOneLineEach) {
  const Error error =
      responseError(response(400), Method::Get, {" A\r\nB ", "one\n\ttwo\x01"}, kRows);
  EXPECT_EQ(error.exceptionName, "A B");
  EXPECT_EQ(error.message, "one two?");
}

TEST(ErrorOfResponse, StatusReplacesMissingTexts) {
  const Error error = responseError(response(503), Method::Get, {}, kRows);
  EXPECT_EQ(error.exceptionName, "HTTP503");
  EXPECT_EQ(error.message, "Service Unavailable");
}

TEST(ErrorOfResponse, TextOfWhiteSpaceCountsAsMissing) {
  const Error error = responseError(response(404), Method::Get, {" \n", "\t"}, kRows);
  EXPECT_EQ(error.exceptionName, "HTTP404");
  EXPECT_EQ(error.message, "Not Found");
}

TEST(ErrorOfResponse, MessageWithoutCodeIsKept) {
  const Error error = responseError(response(404), Method::Get, {"", "Gone fishing"}, kRows);
  EXPECT_EQ(error.exceptionName, "HTTP404");
  EXPECT_EQ(error.message, "Gone fishing");
}

TEST(ErrorOfResponse, MessageStaysEmptyIfThereIsACode) {
  for (const char* message : {"", " \n"}) {
    const Error error = responseError(response(404), Method::Get, {"NoSuchThing", message}, kRows);
    EXPECT_EQ(error.exceptionName, "NoSuchThing");
    EXPECT_EQ(error.message, "");
  }
}

struct SilentBody {
  const char* name;
  std::shared_ptr<WSErrorMarshaller> marshaller;
  std::string body;
  std::string code;
};

class ErrorWithACodeOnly : public testing::TestWithParam<SilentBody> {};

TEST_P(ErrorWithACodeOnly, HasAnEmptyMessage) {
  const Error error = GetParam().marshaller->marshall(response(404, GetParam().body), Method::Get);
  EXPECT_EQ(error.exceptionName, GetParam().code);
  EXPECT_EQ(error.message, "");
}

const SilentBody kSilentBodies[] = {
    {"S3", std::make_shared<S3::S3ErrorMarshaller>(),
     "<Error><Code>NoSuchBucket</Code><Message></Message></Error>", "NoSuchBucket"},
    {"S3WithoutElement", std::make_shared<S3::S3ErrorMarshaller>(),
     "<Error><Code>NoSuchBucket</Code></Error>", "NoSuchBucket"},
    {"AzureSSB", std::make_shared<AzureSSB::AzureSSBErrorMarshaller>(),
     "<Error><Code>BlobNotFound</Code><Message>\nRequestId:1</Message></Error>", "BlobNotFound"},
    {"GoogleDrive", std::make_shared<GoogleDrive::GoogleDriveErrorMarshaller>(),
     R"({"error":{"errors":[{"reason":"notFound"}],"message":""}})", "notFound"},
    {"OneDrive", std::make_shared<OneDrive::OneDriveErrorMarshaller>(),
     R"({"error":{"code":"itemNotFound","message":""}})", "itemNotFound"},
    {"AmazonDrive", std::make_shared<AmazonDrive::AmazonDriveErrorMarshaller>(),
     R"({"logref":"1","code":"NOT_FOUND","message":""})", "NOT_FOUND"},
};

INSTANTIATE_TEST_SUITE_P(All, ErrorWithACodeOnly, testing::ValuesIn(kSilentBodies),
                         [](const auto& test) { return std::string(test.param.name); });

TEST(ErrorOfAzure, CodeInTheHeaderAloneLeavesTheMessageToTheStatus) {
  const CloudStorage::Http::HeaderValueCollection headers = {{"x-ms-error-code", "BlobNotFound"}};
  const AzureSSB::AzureSSBErrorMarshaller marshaller;
  for (const char* body :
       {"", "<html></html>", "<Error><Code></Code><Message></Message></Error>"}) {
    const Error error = marshaller.marshall(response(404, body, headers), Method::Get);
    EXPECT_EQ(error.exceptionName, "BlobNotFound") << body;
    EXPECT_EQ(error.message, "Not Found") << body;
  }
  const Error error = marshaller.marshall(
      response(404, "<Error><Code>BlobNotFound</Code><Message/></Error>", headers), Method::Get);
  EXPECT_EQ(error.message, "");
}

TEST(ErrorOfGoogleDrive, StatusAsNameLeavesTheMessageToTheStatus) {
  const GoogleDrive::GoogleDriveErrorMarshaller marshaller;
  const Error nameless =
      marshaller.marshall(response(404, R"({"error":{"code":404}})"), Method::Get);
  EXPECT_EQ(nameless.exceptionName, "404");
  EXPECT_EQ(nameless.message, "Not Found");
  const Error unnamed =
      marshaller.marshall(response(404, R"({"error":{"message":"Gone fishing"}})"), Method::Get);
  EXPECT_EQ(unnamed.exceptionName, "404");
  EXPECT_EQ(unnamed.message, "Gone fishing");
}

TEST(ErrorOfResponse, UnknownStatusIsRejected) {
  for (const int status : {100, 204, 299, 418, 499, 600, 999}) {
    const Error error = responseError(response(status), Method::Get, {}, kRows);
    EXPECT_EQ(error.errorType, CoreErrors::Rejected) << status;
    EXPECT_FALSE(error.retryable) << status;
    EXPECT_NE(error.message, "") << status;
  }
}

TEST(ErrorOfResponse, HeadersAndStatusAreKept) {
  const CloudStorage::Http::HeaderValueCollection headers = {
      {"location", "https://h/p"}, {"x-amz-bucket-region", "eu-central-1"}};
  const Error error = responseError(response(307, "", headers), Method::Get, {}, kRows);
  EXPECT_EQ(error.responseHeaders, headers);
  EXPECT_EQ(error.httpResponseCode, 307);
}

const TestSupport::ErrorExpectation kMeanings[] = {
    {300, "", CoreErrors::Redirected, false},
    {301, "", CoreErrors::Redirected, false},
    {308, "", CoreErrors::Redirected, false},
    {400, "", CoreErrors::InvalidRequest, false},
    {401, "", CoreErrors::NotAuthenticated, false},
    {403, "", CoreErrors::AccessDenied, false},
    {404, "", CoreErrors::NotFound, false},
    {405, "", CoreErrors::InvalidRequest, false},
    {406, "", CoreErrors::InvalidRequest, false},
    {407, "", CoreErrors::Rejected, false},
    {408, "", CoreErrors::Timeout, false},
    {409, "", CoreErrors::Conflict, false},
    {411, "", CoreErrors::InvalidRequest, false},
    {412, "", CoreErrors::PreconditionFailed, false},
    {413, "", CoreErrors::InvalidRequest, false},
    {414, "", CoreErrors::InvalidRequest, false},
    {415, "", CoreErrors::InvalidRequest, false},
    {422, "", CoreErrors::InvalidRequest, false},
    {423, "", CoreErrors::Conflict, false},
    {429, "", CoreErrors::Throttled, true},
    {501, "", CoreErrors::NotImplemented, true},
    {502, "", CoreErrors::ServiceFailure, true},
    {503, "", CoreErrors::ServiceFailure, true},
    {599, "", CoreErrors::ServiceFailure, true},
};

using ErrorByStatus = TestSupport::ErrorTable;

TEST_P(ErrorByStatus, HasTheTypeAndFlagOfItsStatus) {
  const auto& row = GetParam();
  const Error error = responseError(response(row.status), Method::Put, {"unheard-of", ""}, kRows);
  EXPECT_EQ(error.errorType, row.type);
  EXPECT_EQ(error.retryable, row.retryable);
}

INSTANTIATE_TEST_SUITE_P(All, ErrorByStatus, testing::ValuesIn(kMeanings), TestSupport::RowName());

TEST(ReadXmlError, TakesCodeAndMessageOfTheRootError) {
  const ServiceMessage message = readXmlError(
      "<e:Error xmlns:e='urn:e'><e:Code>A</e:Code><Other>x</Other><Message>B</Message></e:Error>");
  EXPECT_EQ(message.code, "A");
  EXPECT_EQ(message.message, "B");
}

TEST(ReadXmlError, AnyOtherRootHasNeither) {
  const ServiceMessage message = readXmlError("<html><Code>A</Code><Message>B</Message></html>");
  EXPECT_EQ(message.code, "");
  EXPECT_EQ(message.message, "");
}

TEST(LocalError, HasTypeOneAndNoStatus) {
  const Error error = localError("MalformedResponse", "no\nroot");
  EXPECT_EQ(static_cast<unsigned>(error.errorType), 1U);
  EXPECT_EQ(error.exceptionName, "MalformedResponse");
  EXPECT_EQ(error.message, "no root");
  EXPECT_EQ(error.httpResponseCode, 0);
  EXPECT_FALSE(error.retryable);
}

struct FailedTransport {
  const char* name;
  Kind kind;
  CoreErrors type;
};

constexpr FailedTransport kFailedTransports[] = {
    {"Unreachable", Kind::Unreachable, CoreErrors::NetworkFailure},
    {"Interrupted", Kind::Interrupted, CoreErrors::NetworkFailure},
    {"Timeout", Kind::Timeout, CoreErrors::Timeout},
    {"Untrusted", Kind::Untrusted, CoreErrors::Untrusted},
    {"ResponseTooLarge", Kind::ResponseTooLarge, CoreErrors::LocalFailure},
    {"Refused", Kind::Refused, CoreErrors::LocalFailure},
};

Response failed(Kind kind, bool requestMayHaveRun) {
  return TestSupport::failedResponse(kind, "CURLE_SOME_FAILURE", "what the transport\nmessage",
                                     requestMayHaveRun);
}

class TransportFailureOf : public testing::TestWithParam<FailedTransport> {};

TEST_P(TransportFailureOf, IsNamedByTheTransport) {
  const Error error =
      marshallError(failed(GetParam().kind, true), Method::Get, readNoMessage, kRows);
  EXPECT_EQ(error.exceptionName, "CURLE_SOME_FAILURE");
  EXPECT_EQ(error.message, "what the transport message");
  EXPECT_EQ(error.httpResponseCode, 0);
  EXPECT_TRUE(error.responseHeaders.empty());
}

TEST_P(TransportFailureOf, HasATypeOfItsOwnAndIsNotRetryableWhereTheStrategyIgnoresTheFlag) {
  std::vector<std::unique_ptr<WSErrorMarshaller>> marshallers;
  marshallers.push_back(std::make_unique<S3::S3ErrorMarshaller>());
  marshallers.push_back(std::make_unique<AzureSSB::AzureSSBErrorMarshaller>());
  marshallers.push_back(std::make_unique<OneDrive::OneDriveErrorMarshaller>());
  marshallers.push_back(std::make_unique<Dropbox::DropboxErrorMarshaller>());
  for (const auto& marshaller : marshallers) {
    for (const bool mayHaveRun : {false, true}) {
      const Error error = marshaller->marshall(failed(GetParam().kind, mayHaveRun), Method::Get);
      EXPECT_EQ(error.errorType, GetParam().type);
      EXPECT_EQ(error.exceptionName, "CURLE_SOME_FAILURE");
      EXPECT_FALSE(error.retryable);
      EXPECT_EQ(error.httpResponseCode, 0);
    }
  }
}

TEST_P(TransportFailureOf, IsTemporaryForGoogleDriveAndAmazonDrive) {
  std::vector<std::unique_ptr<WSErrorMarshaller>> marshallers;
  marshallers.push_back(std::make_unique<GoogleDrive::GoogleDriveErrorMarshaller>());
  marshallers.push_back(std::make_unique<AmazonDrive::AmazonDriveErrorMarshaller>());
  const bool isLocal = GetParam().type == CoreErrors::LocalFailure;
  const bool canHelp = !isLocal && GetParam().kind != Kind::Untrusted;
  for (const auto& marshaller : marshallers) {
    const auto marshall = [&](bool mayHaveRun, Method method) {
      return marshaller->marshall(failed(GetParam().kind, mayHaveRun), method);
    };
    EXPECT_EQ(static_cast<unsigned>(marshall(true, Method::Get).errorType), isLocal ? 1U : 259U);
    EXPECT_EQ(marshall(false, Method::Get).retryable, canHelp);
    EXPECT_EQ(marshall(true, Method::Get).retryable, canHelp);
    EXPECT_EQ(marshall(true, Method::Head).retryable, canHelp);
    EXPECT_EQ(marshall(false, Method::Post).retryable, canHelp);
    EXPECT_FALSE(marshall(true, Method::Post).retryable);
    EXPECT_FALSE(marshall(true, Method::Put).retryable);
  }
}

INSTANTIATE_TEST_SUITE_P(All, TransportFailureOf, testing::ValuesIn(kFailedTransports),
                         [](const auto& test) { return std::string(test.param.name); });

}  // namespace
