#include <gtest/gtest.h>

#include <string>

#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "support/error_expectation.h"
#include "support/responses.h"

namespace {

using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Client::OneDrive::OneDriveErrorMarshaller;
using CloudStorage::Http::Method;
using TestSupport::ErrorExpectation;
using TestSupport::expectRow;
using TestSupport::response;

Error marshall(const CloudStorage::Http::Response& response) {
  return OneDriveErrorMarshaller().marshall(response, Method::Post);
}

std::string body(const std::string& code) {
  return R"({"error":{"code":")" + code +
         R"(","message":"What went wrong","innerError":{"code":"finer","message":"inner"}}})";
}

const ErrorExpectation kExpectations[] = {
    {400, "invalidRequest", CoreErrors::InvalidRequest, false},
    {400, "BadRequest", CoreErrors::InvalidRequest, false},
    {400, "invalidRange", CoreErrors::InvalidRequest, false},
    {400, "malformedEntityTag", CoreErrors::InvalidRequest, false},
    {400, "notSupported", CoreErrors::NotImplemented, false},
    {401, "InvalidAuthenticationToken", CoreErrors::NotAuthenticated, false},
    {401, "unauthenticated", CoreErrors::NotAuthenticated, false},
    {403, "accessDenied", CoreErrors::AccessDenied, false},
    {403, "quotaLimitReached", CoreErrors::QuotaExceeded, false},
    {404, "itemNotFound", CoreErrors::NotFound, false},
    {404, "ResourceNotFound", CoreErrors::NotFound, false},
    {405, "", CoreErrors::InvalidRequest, false},
    {406, "", CoreErrors::InvalidRequest, false},
    {415, "", CoreErrors::InvalidRequest, false},
    {409, "nameAlreadyExists", CoreErrors::Conflict, false},
    {409, "resourceModified", CoreErrors::Conflict, false},
    {409, "conflict", CoreErrors::Conflict, false},
    {410, "resyncRequired", CoreErrors::Conflict, false},
    {423, "", CoreErrors::Conflict, false},
    {429, "activityLimitReached", CoreErrors::Throttled, true},
    {429, "TooManyRequests", CoreErrors::Throttled, true},
    {500, "generalException", CoreErrors::ServiceFailure, true},
    {500, "UnknownError", CoreErrors::ServiceFailure, true},
    {502, "", CoreErrors::ServiceFailure, true},
    {504, "", CoreErrors::ServiceFailure, true},
    {501, "notSupported", CoreErrors::NotImplemented, false},
    {501, "notImplemented", CoreErrors::NotImplemented, false},
    {503, "serviceNotAvailable", CoreErrors::ServiceFailure, true},
    {503, "activityLimitReached", CoreErrors::Throttled, true},
    {507, "quotaLimitReached", CoreErrors::QuotaExceeded, false},
    {507, "", CoreErrors::QuotaExceeded, false},
    {509, "", CoreErrors::Throttled, true},
};

using OneDriveError = TestSupport::ErrorTable;

TEST_P(OneDriveError, HasTheTypeAndFlagOfItsRow) {
  const ErrorExpectation& row = GetParam();
  expectRow(marshall(response(row.status, row.code.empty() ? "" : body(row.code))), row);
}

INSTANTIATE_TEST_SUITE_P(All, OneDriveError, testing::ValuesIn(kExpectations),
                         TestSupport::RowName());

TEST(OneDriveErrorMarshaller, CodeAndMessageComeFromTheOuterError) {
  const Error error = marshall(response(404, body("itemNotFound")));
  EXPECT_EQ(error.exceptionName, "itemNotFound");
  EXPECT_EQ(error.message, "What went wrong");
}

TEST(OneDriveErrorMarshaller, ByteOrderMarkIsSkipped) {
  EXPECT_EQ(marshall(response(404, "\xEF\xBB\xBF" + body("itemNotFound"))).exceptionName,
            "itemNotFound");
}

TEST(OneDriveErrorMarshaller, LineBreaksInTheMessageBecomeSpaces) {
  const Error error = marshall(response(
      401, R"({"error":{"code":"InvalidAuthenticationToken","message":"Expired.\r\nTrace: 1"}})"));
  EXPECT_EQ(error.message, "Expired. Trace: 1");
}

TEST(OneDriveErrorMarshaller, ErrorThatIsATextIsLeftOut) {
  const Error error = marshall(response(401, R"({"error":"invalid_token"})"));
  EXPECT_EQ(error.exceptionName, "HTTP401");
  EXPECT_EQ(error.message, "Unauthorized");
}

}  // namespace
