#include <gtest/gtest.h>

#include <string>

#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "support/error_expectation.h"
#include "support/responses.h"

namespace {

using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Client::GoogleDrive::GoogleDriveErrorMarshaller;
using CloudStorage::Http::Method;
using TestSupport::ErrorExpectation;
using TestSupport::expectRowOfCreation;
using TestSupport::response;

Error marshall(const CloudStorage::Http::Response& response, Method method = Method::Get) {
  return GoogleDriveErrorMarshaller().marshall(response, method);
}

std::string body(const std::string& reason) {
  return R"({"error":{"code":1,"message":"What went wrong","errors":[{"domain":"d","reason":")" +
         reason + R"(","message":"inner"}],"status":"SOME_STATUS"}})";
}

const ErrorExpectation kExpectations[] = {
    {400, "invalid", CoreErrors::TemporaryFailure, false},
    {400, "badRequest", CoreErrors::TemporaryFailure, false},
    {400, "invalidParameter", CoreErrors::TemporaryFailure, false},
    {400, "parseError", CoreErrors::TemporaryFailure, false},
    {400, "required", CoreErrors::TemporaryFailure, false},
    {401, "authError", CoreErrors::TemporaryFailure, false},
    {403, "sharingRateLimitExceeded", CoreErrors::TemporaryFailure, false},
    {403, "dailyLimitExceeded", CoreErrors::TemporaryFailure, false},
    {403, "quotaExceeded", CoreErrors::TemporaryFailure, false},
    {403, "storageQuotaExceeded", CoreErrors::TemporaryFailure, false},
    {403, "insufficientPermissions", CoreErrors::TemporaryFailure, false},
    {403, "insufficientFilePermissions", CoreErrors::TemporaryFailure, false},
    {403, "accessNotConfigured", CoreErrors::TemporaryFailure, false},
    {403, "domainPolicy", CoreErrors::TemporaryFailure, false},
    {403, "appNotAuthorizedToFile", CoreErrors::TemporaryFailure, false},
    {403, "teamDriveFileLimitExceeded", CoreErrors::TemporaryFailure, false},
    {403, "numChildrenInNonRootLimitExceeded", CoreErrors::TemporaryFailure, false},
    {403, "", CoreErrors::TemporaryFailure, false},
    {404, "notFound", CoreErrors::TemporaryFailure, false},
    {409, "", CoreErrors::TemporaryFailure, false},
    {411, "", CoreErrors::TemporaryFailure, false},
    {412, "conditionNotMet", CoreErrors::TemporaryFailure, false},
    {501, "notImplemented", CoreErrors::TemporaryFailure, false},
    {505, "", CoreErrors::TemporaryFailure, false},
    {302, "", CoreErrors::TemporaryFailure, false},
    {418, "", CoreErrors::TemporaryFailure, false},
    {403, "rateLimitExceeded", CoreErrors::TemporaryFailure, true},
    {403, "userRateLimitExceeded", CoreErrors::TemporaryFailure, true},
    {429, "rateLimitExceeded", CoreErrors::TemporaryFailure, true},
    {429, "", CoreErrors::TemporaryFailure, true},
    {500, "internalError", CoreErrors::TemporaryFailure, true},
    {500, "backendError", CoreErrors::TemporaryFailure, true},
    {502, "", CoreErrors::TemporaryFailure, true},
    {503, "backendError", CoreErrors::TemporaryFailure, true},
    {503, "", CoreErrors::TemporaryFailure, true},
    {504, "", CoreErrors::TemporaryFailure, true},
};

using GoogleDriveError = TestSupport::ErrorTable;

TEST_P(GoogleDriveError, OfAReadHasTheFlagOfItsRow) {
  const ErrorExpectation& row = GetParam();
  const Error error = marshall(response(row.status, row.code.empty() ? "" : body(row.code)));
  EXPECT_EQ(error.errorType, row.type);
  EXPECT_EQ(error.retryable, row.retryable);
  EXPECT_EQ(error.httpResponseCode, row.status);
  EXPECT_EQ(error.exceptionName, row.code.empty() ? std::to_string(row.status) : row.code);
}

TEST_P(GoogleDriveError, OfACreationIsRetryableOnlyIfRefusedBeforeAnyWork) {
  const ErrorExpectation& row = GetParam();
  expectRowOfCreation(
      marshall(response(row.status, row.code.empty() ? "" : body(row.code)), Method::Post), row);
}

INSTANTIATE_TEST_SUITE_P(All, GoogleDriveError, testing::ValuesIn(kExpectations),
                         TestSupport::RowName());

TEST(GoogleDriveErrorMarshaller, TypeHasTheNumberThatTheRetryStrategyExpects) {
  EXPECT_EQ(static_cast<unsigned>(marshall(response(503)).errorType), 259U);
}

TEST(GoogleDriveErrorMarshaller, ReasonOfTheFirstErrorIsTheName) {
  const Error error = marshall(response(
      403, R"({"error":{"code":403,"message":"Limit","errors":[{"reason":"first"},{"reason":"x"}],)"
           R"("status":"PERMISSION_DENIED"}})"));
  EXPECT_EQ(error.exceptionName, "first");
  EXPECT_EQ(error.message, "Limit");
}

TEST(GoogleDriveErrorMarshaller, StatusNamesAnErrorWithoutReason) {
  for (const auto other :
       {R"({"error":{"code":404,"message":"No","status":"NOT_FOUND"}})",
        R"({"error":{"code":404,"message":"No","errors":[],"status":"NOT_FOUND"}})",
        R"({"error":{"code":404,"message":"No","errors":[{}],"status":"NOT_FOUND"}})"}) {
    const Error error = marshall(response(404, other));
    EXPECT_EQ(error.exceptionName, "NOT_FOUND") << other;
    EXPECT_EQ(error.message, "No") << other;
  }
}

TEST(GoogleDriveErrorMarshaller, NumberNamesAnErrorWithoutReasonAndStatus) {
  const Error error = marshall(response(404, R"({"error":{"code":404,"message":"No"}})"));
  EXPECT_EQ(error.exceptionName, "404");
  EXPECT_EQ(error.message, "No");
}

TEST(GoogleDriveErrorMarshaller, LimitThatIsNoRateLimitIsNotRetryable) {
  EXPECT_FALSE(marshall(response(403, body("rateLimitExceededForever"))).retryable);
}

}  // namespace
