#include <gtest/gtest.h>

#include <string>

#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "support/error_expectation.h"
#include "support/responses.h"

namespace {

using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Client::AzureSSB::AzureSSBErrorMarshaller;
using CloudStorage::Http::Method;
using TestSupport::ErrorExpectation;
using TestSupport::expectRow;
using TestSupport::response;

Error marshall(const CloudStorage::Http::Response& response) {
  return AzureSSBErrorMarshaller().marshall(response, Method::Put);
}

std::string body(const std::string& code, const std::string& message) {
  return "\xEF\xBB\xBF<?xml version=\"1.0\" encoding=\"utf-8\"?><Error><Code>" + code +
         "</Code><Message>" + message + "</Message></Error>";
}

const ErrorExpectation kCodes[] = {
    {400, "InvalidResourceName", CoreErrors::InvalidBucketName, false},
    {400, "OutOfRangeInput", CoreErrors::InvalidBucketName, false},
    {404, "ContainerNotFound", CoreErrors::BucketNotFound, false},
    {409, "ContainerAlreadyExists", CoreErrors::BucketAlreadyOwned, false},
    {409, "ContainerBeingDeleted", CoreErrors::Conflict, false},
    {404, "BlobNotFound", CoreErrors::NotFound, false},
    {404, "ResourceNotFound", CoreErrors::NotFound, false},
    {409, "BlobImmutableDueToPolicy", CoreErrors::AccessDenied, false},
    {412, "ConditionNotMet", CoreErrors::PreconditionFailed, false},
    {412, "LeaseIdMissing", CoreErrors::PreconditionFailed, false},
    {401, "NoAuthenticationInformation", CoreErrors::NotAuthenticated, false},
    {400, "InvalidAuthenticationInfo", CoreErrors::NotAuthenticated, false},
    {401, "InvalidAuthenticationInfo", CoreErrors::NotAuthenticated, false},
    {403, "AuthenticationFailed", CoreErrors::SignatureMismatch, false},
    {403, "AuthorizationFailure", CoreErrors::AccessDenied, false},
    {403, "KeyBasedAuthenticationNotPermitted", CoreErrors::AccessDenied, false},
    {403, "InsufficientAccountPermissions", CoreErrors::AccessDenied, false},
    {403, "AccountIsDisabled", CoreErrors::AccountProblem, false},
    {409, "AccountBeingCreated", CoreErrors::AccountProblem, false},
    {400, "AccountRequiresHttps", CoreErrors::InvalidRequest, false},
    {400, "InvalidUri", CoreErrors::InvalidRequest, false},
    {400, "InvalidHeaderValue", CoreErrors::InvalidRequest, false},
    {400, "MissingRequiredHeader", CoreErrors::InvalidRequest, false},
    {411, "MissingContentLengthHeader", CoreErrors::InvalidRequest, false},
    {400, "InvalidQueryParameterValue", CoreErrors::InvalidRequest, false},
    {400, "OutOfRangeQueryParameterValue", CoreErrors::InvalidRequest, false},
    {400, "InvalidXmlDocument", CoreErrors::InvalidRequest, false},
    {405, "UnsupportedHttpVerb", CoreErrors::InvalidRequest, false},
    {503, "ServerBusy", CoreErrors::Throttled, true},
    {500, "OperationTimedOut", CoreErrors::Timeout, true},
    {500, "InternalError", CoreErrors::ServiceFailure, true},
};

const ErrorExpectation kOtherwise[] = {
    {409, "SomethingNew", CoreErrors::Conflict, false},
    {503, "SomethingNew", CoreErrors::ServiceFailure, true},
};

using AzureSSBError = TestSupport::ErrorTable;

TEST_P(AzureSSBError, HasTheTypeAndFlagOfItsRow) {
  const ErrorExpectation& row = GetParam();
  expectRow(marshall(response(row.status, body(row.code, ""))), row);
}

TEST_P(AzureSSBError, IsTheSameFromTheHeaderAlone) {
  const ErrorExpectation& row = GetParam();
  expectRow(marshall(response(row.status, "", {{"x-ms-error-code", row.code}})), row);
}

INSTANTIATE_TEST_SUITE_P(Code, AzureSSBError, testing::ValuesIn(kCodes), TestSupport::RowName());

INSTANTIATE_TEST_SUITE_P(Otherwise, AzureSSBError, testing::ValuesIn(kOtherwise),
                         TestSupport::RowName());

using AzureSSBErrorCode = TestSupport::ErrorTable;

TEST_P(AzureSSBErrorCode, HasPrecedenceOverTheStatus) {
  const ErrorExpectation& row = GetParam();
  const Error error = marshall(response(299, body(row.code, "")));
  EXPECT_EQ(error.errorType, row.type);
  EXPECT_EQ(error.retryable, row.retryable);
}

INSTANTIATE_TEST_SUITE_P(All, AzureSSBErrorCode, testing::ValuesIn(kCodes), TestSupport::RowName());

TEST(AzureSSBErrorMarshaller, HeaderHasPrecedenceOverTheBody) {
  const Error error = marshall(response(409, body("SomethingElse", "It exists already"),
                                        {{"x-ms-error-code", "ContainerAlreadyExists"}}));
  EXPECT_EQ(error.errorType, CoreErrors::BucketAlreadyOwned);
  EXPECT_EQ(error.exceptionName, "ContainerAlreadyExists");
  EXPECT_EQ(error.message, "It exists already");
}

TEST(AzureSSBErrorMarshaller, EmptyHeaderCountsAsMissing) {
  const Error error = marshall(response(503, body("ServerBusy", ""), {{"x-ms-error-code", ""}}));
  EXPECT_EQ(error.exceptionName, "ServerBusy");
}

TEST(AzureSSBErrorMarshaller, MessageEndsAtItsFirstLineBreak) {
  for (const std::string lineBreak : {"\n", "\r\n", "&#10;"}) {
    const Error error = marshall(response(
        409, body("ContainerAlreadyExists", "It exists already." + lineBreak + "RequestId:5f8c" +
                                                lineBreak + "Time:2024-02-29T08:30:15Z")));
    EXPECT_EQ(error.message, "It exists already.");
  }
}

TEST(AzureSSBErrorMarshaller, HtmlPageOfTheFrontEndIsNamedByTheStatus) {
  const Error error = marshall(response(
      400,
      "<!DOCTYPE HTML PUBLIC \"-//W3C//DTD HTML 4.01//EN\"><HTML><BODY>Invalid</BODY></HTML>"));
  EXPECT_EQ(error.errorType, CoreErrors::InvalidRequest);
  EXPECT_EQ(error.exceptionName, "HTTP400");
  EXPECT_EQ(error.message, "Bad Request");
}

TEST(AzureSSBErrorMarshaller, AuthenticationDetailIsLeftOut) {
  const Error error =
      marshall(response(403,
                        "<Error><Code>AuthenticationFailed</Code><Message>Authentication failed."
                        "\nTime:x</Message><AuthenticationErrorDetail>The MAC signature found is "
                        "s3cr3t</AuthenticationErrorDetail></Error>"));
  EXPECT_EQ(error.exceptionName, "AuthenticationFailed");
  EXPECT_EQ(error.message, "Authentication failed.");
}

}  // namespace
