#include <gtest/gtest.h>

#include <string>

#include "CloudStorage/Client/S3/S3Client.h"
#include "support/error_expectation.h"
#include "support/responses.h"

namespace {

using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Client::S3::S3ErrorMarshaller;
using CloudStorage::Http::Method;
using TestSupport::ErrorExpectation;
using TestSupport::expectRow;
using TestSupport::response;

Error marshall(const CloudStorage::Http::Response& response, Method method = Method::Put) {
  return S3ErrorMarshaller().marshall(response, method);
}

std::string body(const std::string& code, const std::string& rest = "") {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Error><Code>" + code + "</Code>" + rest +
         "</Error>";
}

const ErrorExpectation kCodes[] = {
    {400, "InvalidBucketName", CoreErrors::InvalidBucketName, false},
    {404, "NoSuchBucket", CoreErrors::BucketNotFound, false},
    {409, "BucketAlreadyExists", CoreErrors::BucketAlreadyExists, false},
    {409, "BucketAlreadyOwnedByYou", CoreErrors::BucketAlreadyOwned, false},
    {400, "TooManyBuckets", CoreErrors::TooManyBuckets, false},
    {400, "InvalidLocationConstraint", CoreErrors::InvalidLocation, false},
    {403, "QuotaExceeded", CoreErrors::QuotaExceeded, false},
    {404, "NoSuchKey", CoreErrors::NotFound, false},
    {409, "OperationAborted", CoreErrors::Conflict, true},
    {412, "PreconditionFailed", CoreErrors::PreconditionFailed, false},
    {403, "AccessDenied", CoreErrors::AccessDenied, false},
    {403, "AllAccessDisabled", CoreErrors::AccessDenied, false},
    {405, "MethodNotAllowed", CoreErrors::InvalidRequest, false},
    {403, "InvalidAccessKeyId", CoreErrors::UnknownAccessKey, false},
    {403, "SignatureDoesNotMatch", CoreErrors::SignatureMismatch, false},
    {403, "RequestTimeTooSkewed", CoreErrors::ClockSkew, false},
    {400, "ExpiredToken", CoreErrors::NotAuthenticated, false},
    {403, "AccountProblem", CoreErrors::AccountProblem, false},
    {403, "NotSignedUp", CoreErrors::AccountProblem, false},
    {403, "AuthenticationLockout", CoreErrors::AccountProblem, false},
    {301, "PermanentRedirect", CoreErrors::WrongRegion, false},
    {400, "AuthorizationHeaderMalformed", CoreErrors::WrongRegion, false},
    {400, "IllegalLocationConstraintException", CoreErrors::WrongRegion, false},
    {307, "TemporaryRedirect", CoreErrors::Redirected, false},
    {302, "Redirect", CoreErrors::Redirected, false},
    {302, "Found", CoreErrors::Redirected, false},
    {400, "InvalidArgument", CoreErrors::InvalidRequest, false},
    {400, "InvalidRequest", CoreErrors::InvalidRequest, false},
    {400, "InvalidURI", CoreErrors::InvalidRequest, false},
    {400, "MalformedXML", CoreErrors::InvalidRequest, false},
    {400, "KeyTooLongError", CoreErrors::InvalidRequest, false},
    {411, "MissingContentLength", CoreErrors::InvalidRequest, false},
    {400, "InvalidDigest", CoreErrors::InvalidRequest, false},
    {400, "BadDigest", CoreErrors::InvalidRequest, false},
    {400, "XAmzContentSHA256Mismatch", CoreErrors::InvalidRequest, false},
    {400, "RequestTimeout", CoreErrors::Timeout, true},
    {503, "SlowDown", CoreErrors::Throttled, true},
    {403, "RequestRateLimitExceeded", CoreErrors::Throttled, false},
    {500, "InternalError", CoreErrors::ServiceFailure, true},
    {503, "ServiceUnavailable", CoreErrors::ServiceFailure, true},
    {503, "Unavailable", CoreErrors::ServiceFailure, true},
    {501, "NotImplemented", CoreErrors::NotImplemented, true},
};

// A retry can help if the status is a server error, and for two codes with any status.
const ErrorExpectation kRetries[] = {
    {429, "SlowDown", CoreErrors::Throttled, false},
    {429, "ServiceUnavailable", CoreErrors::ServiceFailure, false},
    {400, "InternalError", CoreErrors::ServiceFailure, false},
    {405, "NotImplemented", CoreErrors::NotImplemented, false},
    {200, "InternalError", CoreErrors::ServiceFailure, false},
    {200, "OperationAborted", CoreErrors::Conflict, true},
    {429, "RequestTimeout", CoreErrors::Timeout, true},
    {500, "AccessDenied", CoreErrors::AccessDenied, true},
    {503, "RequestRateLimitExceeded", CoreErrors::Throttled, true},
    {599, "", CoreErrors::ServiceFailure, true},
    {600, "SlowDown", CoreErrors::Throttled, false},
};

const ErrorExpectation kOtherwise[] = {
    {429, "", CoreErrors::Throttled, false},
    {418, "SomethingNew", CoreErrors::Rejected, false},
    {403, "SomethingNew", CoreErrors::AccessDenied, false},
    {502, "SomethingNew", CoreErrors::ServiceFailure, true},
};

using S3Error = TestSupport::ErrorTable;

TEST_P(S3Error, HasTheTypeAndFlagOfItsRow) {
  const ErrorExpectation& row = GetParam();
  expectRow(marshall(response(row.status, row.code.empty() ? "" : body(row.code))), row);
}

INSTANTIATE_TEST_SUITE_P(Code, S3Error, testing::ValuesIn(kCodes), TestSupport::RowName());

INSTANTIATE_TEST_SUITE_P(Retry, S3Error, testing::ValuesIn(kRetries), TestSupport::RowName());

INSTANTIATE_TEST_SUITE_P(Otherwise, S3Error, testing::ValuesIn(kOtherwise), TestSupport::RowName());

using S3ErrorCode = TestSupport::ErrorTable;

TEST_P(S3ErrorCode, HasPrecedenceOverTheStatus) {
  const ErrorExpectation& row = GetParam();
  const Error error = marshall(response(299, body(row.code)));
  EXPECT_EQ(error.errorType, row.type);
}

INSTANTIATE_TEST_SUITE_P(All, S3ErrorCode, testing::ValuesIn(kCodes), TestSupport::RowName());

TEST(S3ErrorMarshaller, CodeAndMessageComeFromTheBody) {
  const Error error = marshall(response(404, body("NoSuchBucket",
                                                  "<Message>The bucket does not exist</Message>"
                                                  "<BucketName>vemlo-x</BucketName>")));
  EXPECT_EQ(error.exceptionName, "NoSuchBucket");
  EXPECT_EQ(error.message, "The bucket does not exist");
}

TEST(S3ErrorMarshaller, NamespaceDoesNotMatter) {
  const Error error = marshall(
      response(403,
               "<s:Error xmlns:s=\"http://s3.amazonaws.com/doc/2006-03-01/\"><s:Code>AccessDenied"
               "</s:Code><s:Message>No</s:Message></s:Error>"));
  EXPECT_EQ(error.errorType, CoreErrors::AccessDenied);
  EXPECT_EQ(error.message, "No");
}

TEST(S3ErrorMarshaller, EmptyMessageStaysEmpty) {
  const Error error = marshall(response(404, body("NoSuchBucket", "<Message></Message>")));
  EXPECT_EQ(error.exceptionName, "NoSuchBucket");
  EXPECT_EQ(error.message, "");
}

TEST(S3ErrorMarshaller, EmptyBodyIsNamedByTheStatus) {
  const Error error = marshall(response(403));
  EXPECT_EQ(error.errorType, CoreErrors::AccessDenied);
  EXPECT_EQ(error.exceptionName, "HTTP403");
  EXPECT_EQ(error.message, "Forbidden");
}

TEST(S3ErrorMarshaller, BodiesOfOtherFormsAreNotEchoed) {
  for (const auto other : {"<html>page</html>", "{\"Code\":\"NoSuchBucket\"}", "plain text",
                           "<Errors><Code>NoSuchBucket</Code></Errors>"}) {
    const Error error = marshall(response(404, other));
    EXPECT_EQ(error.errorType, CoreErrors::NotFound) << other;
    EXPECT_EQ(error.exceptionName, "HTTP404") << other;
    EXPECT_EQ(error.message, "Not Found") << other;
  }
}

TEST(S3ErrorMarshaller, ErrorWithStatus200HasTheTypeOfItsCode) {
  const Error error = marshall(response(200, body("InternalError")));
  EXPECT_EQ(error.errorType, CoreErrors::ServiceFailure);
  EXPECT_FALSE(error.retryable);
  EXPECT_EQ(error.httpResponseCode, 200);
}

TEST(S3ErrorMarshaller, ReferenceToNulDoesNotHideTheCode) {
  const Error error = marshall(response(404, body("NoSuchBucket", "<Message>a&#0;b</Message>")));
  EXPECT_EQ(error.exceptionName, "NoSuchBucket");
  EXPECT_EQ(error.message, "a\uFFFDb");
}

TEST(S3ErrorMarshaller, RedirectKeepsItsHeaders) {
  const Error error = marshall(response(307, body("TemporaryRedirect"),
                                        {{"location", "https://b.s3.eu-west-1.amazonaws.com/"}}));
  EXPECT_EQ(error.responseHeaders.at("location"), "https://b.s3.eu-west-1.amazonaws.com/");
}

TEST(S3ErrorMarshaller, EchoOfTheSignatureIsLeftOut) {
  const Error error = marshall(response(
      403, body("SignatureDoesNotMatch",
                "<Message>The signature is wrong</Message><AWSAccessKeyId>s3cr3t</AWSAccessKeyId>"
                "<StringToSign>s3cr3t</StringToSign><SignatureProvided>s3cr3t</SignatureProvided>"
                "<StringToSignBytes>s3cr3t</StringToSignBytes>"
                "<CanonicalRequest>s3cr3t</CanonicalRequest>")));
  EXPECT_EQ(error.exceptionName, "SignatureDoesNotMatch");
  EXPECT_EQ(error.message, "The signature is wrong");
}

TEST(S3ErrorMarshaller, AccessDeniedHasTheDocumentedNumber) {
  const Error error = marshall(response(403, body("AccessDenied")));
  EXPECT_EQ(static_cast<unsigned>(error.errorType), 15U);
}

}  // namespace
