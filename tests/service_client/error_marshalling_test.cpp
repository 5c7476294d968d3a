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
#include "support/error_answers.h"

namespace {

using namespace CloudStorage::Client;  // NOLINT: everything under test
using CloudStorage::Http::Method;
using ErrorAnswers::answer;
using ErrorAnswers::noAnswer;
using Kind = CloudStorage::Http::TransportFailure::Kind;

constexpr ErrorRow kRows[] = {
    {409, "path/full", CoreErrors::QuotaExceeded, Resend::Never},
    {kAnyStatus, "Odd", CoreErrors::Throttled, Resend::Always},
    {500, "", CoreErrors::ServiceFailure, Resend::Reads},
    {500, "Never reached", CoreErrors::Rejected, Resend::Always},
};

CoreErrors typeOf(int status, const std::string& code) {
  return answerError(answer(status), Method::Get, {code, ""}, kRows).errorType;
}

bool isRetryable(int status, Method method) {
  return answerError(answer(status), method, {}, kRows).retryable;
}

TEST(AnswerError, FirstRowThatAppliesCounts) {
  EXPECT_EQ(typeOf(500, "Never reached"), CoreErrors::ServiceFailure);
}

TEST(AnswerError, RowAppliesToItsStatusOnly) {
  EXPECT_EQ(typeOf(409, "path/full"), CoreErrors::QuotaExceeded);
  EXPECT_EQ(typeOf(403, "path/full"), CoreErrors::AccessDenied);
}

TEST(AnswerError, RowForAnyStatusGoesByItsCode) {
  EXPECT_EQ(typeOf(200, "Odd"), CoreErrors::Throttled);
  EXPECT_EQ(typeOf(404, "Odd"), CoreErrors::Throttled);
}

TEST(AnswerError, RowAppliesToWhatLiesBelowItsCode) {
  EXPECT_EQ(typeOf(409, "path/full/team"), CoreErrors::QuotaExceeded);
  EXPECT_EQ(typeOf(409, "path/fuller"), CoreErrors::Conflict);
  EXPECT_EQ(typeOf(409, "path"), CoreErrors::Conflict);
  EXPECT_EQ(typeOf(409, ""), CoreErrors::Conflict);
}

TEST(AnswerError, CodesAreCaseSensitive) { EXPECT_EQ(typeOf(404, "odd"), CoreErrors::NotFound); }

TEST(AnswerError, OnlyReadsMayBeSentAgainWhereTheRowSaysSo) {
  EXPECT_TRUE(isRetryable(500, Method::Get));
  EXPECT_TRUE(isRetryable(500, Method::Head));
  EXPECT_FALSE(isRetryable(500, Method::Post));
  EXPECT_FALSE(isRetryable(500, Method::Put));
}

TEST(AnswerError, TextsAreOneLineEach) {
  const Error error = answerError(answer(400), Method::Get, {" A\r\nB ", "one\n\ttwo\x01"}, kRows);
  EXPECT_EQ(error.exceptionName, "A B");
  EXPECT_EQ(error.message, "one two?");
}

TEST(AnswerError, StatusSpeaksForAServiceThatSaysNothing) {
  const Error error = answerError(answer(503), Method::Get, {}, kRows);
  EXPECT_EQ(error.exceptionName, "HTTP503");
  EXPECT_EQ(error.message, "Service Unavailable");
}

TEST(AnswerError, TextOfBlanksIsAsGoodAsNone) {
  const Error error = answerError(answer(404), Method::Get, {" \n", "\t"}, kRows);
  EXPECT_EQ(error.exceptionName, "HTTP404");
  EXPECT_EQ(error.message, "Not Found");
}

TEST(AnswerError, MessageWithoutCodeIsKept) {
  const Error error = answerError(answer(404), Method::Get, {"", "Gone fishing"}, kRows);
  EXPECT_EQ(error.exceptionName, "HTTP404");
  EXPECT_EQ(error.message, "Gone fishing");
}

TEST(AnswerError, UnknownStatusIsRejected) {
  for (const int status : {100, 204, 299, 418, 499, 600, 999}) {
    const Error error = answerError(answer(status), Method::Get, {}, kRows);
    EXPECT_EQ(error.errorType, CoreErrors::Rejected) << status;
    EXPECT_FALSE(error.retryable) << status;
    EXPECT_NE(error.message, "") << status;
  }
}

TEST(AnswerError, HeadersAndStatusAreHandedOn) {
  const CloudStorage::Http::HeaderValueCollection headers = {
      {"location", "https://h/p"}, {"x-amz-bucket-region", "eu-central-1"}};
  const Error error = answerError(answer(307, "", headers), Method::Get, {}, kRows);
  EXPECT_EQ(error.responseHeaders, headers);
  EXPECT_EQ(error.httpResponseCode, 307);
}

class AnswerErrorByStatus : public testing::TestWithParam<ErrorAnswers::Expectation> {};

TEST_P(AnswerErrorByStatus, IsJudgedByWhatTheStatusMeans) {
  const auto& row = GetParam();
  const Error error = answerError(answer(row.status), Method::Put, {"unheard-of", ""}, kRows);
  EXPECT_EQ(error.errorType, row.type);
  EXPECT_EQ(error.retryable, row.retryable);
}

INSTANTIATE_TEST_SUITE_P(
    All, AnswerErrorByStatus,
    testing::Values(ErrorAnswers::Expectation{300, "", CoreErrors::Redirected, false},
                    ErrorAnswers::Expectation{301, "", CoreErrors::Redirected, false},
                    ErrorAnswers::Expectation{308, "", CoreErrors::Redirected, false},
                    ErrorAnswers::Expectation{400, "", CoreErrors::InvalidRequest, false},
                    ErrorAnswers::Expectation{401, "", CoreErrors::NotAuthenticated, false},
                    ErrorAnswers::Expectation{403, "", CoreErrors::AccessDenied, false},
                    ErrorAnswers::Expectation{404, "", CoreErrors::NotFound, false},
                    ErrorAnswers::Expectation{405, "", CoreErrors::InvalidRequest, false},
                    ErrorAnswers::Expectation{406, "", CoreErrors::InvalidRequest, false},
                    ErrorAnswers::Expectation{407, "", CoreErrors::Rejected, false},
                    ErrorAnswers::Expectation{408, "", CoreErrors::Timeout, false},
                    ErrorAnswers::Expectation{409, "", CoreErrors::Conflict, false},
                    ErrorAnswers::Expectation{411, "", CoreErrors::InvalidRequest, false},
                    ErrorAnswers::Expectation{412, "", CoreErrors::PreconditionFailed, false},
                    ErrorAnswers::Expectation{413, "", CoreErrors::InvalidRequest, false},
                    ErrorAnswers::Expectation{414, "", CoreErrors::InvalidRequest, false},
                    ErrorAnswers::Expectation{415, "", CoreErrors::InvalidRequest, false},
                    ErrorAnswers::Expectation{422, "", CoreErrors::InvalidRequest, false},
                    ErrorAnswers::Expectation{423, "", CoreErrors::Conflict, false},
                    ErrorAnswers::Expectation{429, "", CoreErrors::Throttled, true},
                    ErrorAnswers::Expectation{501, "", CoreErrors::NotImplemented, true},
                    ErrorAnswers::Expectation{502, "", CoreErrors::ServiceFailure, true},
                    ErrorAnswers::Expectation{503, "", CoreErrors::ServiceFailure, true},
                    ErrorAnswers::Expectation{599, "", CoreErrors::ServiceFailure, true}),
    [](const auto& test) { return ErrorAnswers::nameOf(test.param); });

TEST(ReadXmlError, TakesCodeAndMessageOfTheRootError) {
  const ServiceMessage said = readXmlError(
      "<e:Error xmlns:e='urn:e'><e:Code>A</e:Code><Other>x</Other><Message>B</Message></e:Error>");
  EXPECT_EQ(said.code, "A");
  EXPECT_EQ(said.message, "B");
}

TEST(ReadXmlError, AnyOtherRootSaysNothing) {
  const ServiceMessage said = readXmlError("<html><Code>A</Code><Message>B</Message></html>");
  EXPECT_EQ(said.code, "");
  EXPECT_EQ(said.message, "");
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

class TransportFailureOf : public testing::TestWithParam<FailedTransport> {};

TEST_P(TransportFailureOf, IsNamedByTheTransport) {
  const Error error = transportError(*noAnswer(GetParam().kind).failure);
  EXPECT_EQ(error.exceptionName, "CURLE_SOME_FAILURE");
  EXPECT_EQ(error.message, "what the transport said");
  EXPECT_EQ(error.httpResponseCode, 0);
  EXPECT_TRUE(error.responseHeaders.empty());
}

TEST_P(TransportFailureOf, HasATypeOfItsOwnAndIsNotRetryableWhereTheStrategyDoesNotRepeatIt) {
  std::vector<std::unique_ptr<WSErrorMarshaller>> marshallers;
  marshallers.push_back(std::make_unique<S3::S3ErrorMarshaller>());
  marshallers.push_back(std::make_unique<AzureSSB::AzureSSBErrorMarshaller>());
  marshallers.push_back(std::make_unique<OneDrive::OneDriveErrorMarshaller>());
  marshallers.push_back(std::make_unique<Dropbox::DropboxErrorMarshaller>());
  for (const auto& marshaller : marshallers) {
    for (const bool mayHaveRun : {false, true}) {
      const Error error = marshaller->marshall(noAnswer(GetParam().kind, mayHaveRun), Method::Get);
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
      return marshaller->marshall(noAnswer(GetParam().kind, mayHaveRun), method);
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
