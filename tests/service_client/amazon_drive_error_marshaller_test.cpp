#include <gtest/gtest.h>

#include <string>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "support/error_expectation.h"
#include "support/responses.h"

namespace {

using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Client::AmazonDrive::AmazonDriveErrorMarshaller;
using CloudStorage::Http::Method;
using TestSupport::ErrorExpectation;
using TestSupport::expectRowOfCreation;
using TestSupport::response;

Error marshall(const CloudStorage::Http::Response& response, Method method = Method::Get) {
  return AmazonDriveErrorMarshaller().marshall(response, method);
}

const ErrorExpectation kExpectations[] = {
    {302, "", CoreErrors::TemporaryFailure, false}, {400, "", CoreErrors::TemporaryFailure, false},
    {401, "", CoreErrors::TemporaryFailure, false}, {403, "", CoreErrors::TemporaryFailure, false},
    {404, "", CoreErrors::TemporaryFailure, false}, {405, "", CoreErrors::TemporaryFailure, false},
    {409, "", CoreErrors::TemporaryFailure, false}, {411, "", CoreErrors::TemporaryFailure, false},
    {412, "", CoreErrors::TemporaryFailure, false}, {418, "", CoreErrors::TemporaryFailure, false},
    {501, "", CoreErrors::TemporaryFailure, false}, {505, "", CoreErrors::TemporaryFailure, false},
    {429, "", CoreErrors::TemporaryFailure, true},  {500, "", CoreErrors::TemporaryFailure, true},
    {502, "", CoreErrors::TemporaryFailure, true},  {503, "", CoreErrors::TemporaryFailure, true},
    {504, "", CoreErrors::TemporaryFailure, true},
};

using AmazonDriveError = TestSupport::ErrorTable;

TEST_P(AmazonDriveError, OfAReadHasTheFlagOfItsRow) {
  const ErrorExpectation& row = GetParam();
  const Error error = marshall(
      response(row.status, R"({"logref":"1","message":"What went wrong","code":"SOME_CODE"})"));
  EXPECT_EQ(error.errorType, row.type);
  EXPECT_EQ(error.retryable, row.retryable);
  EXPECT_EQ(error.httpResponseCode, row.status);
  EXPECT_EQ(error.exceptionName, "SOME_CODE");
}

TEST_P(AmazonDriveError, OfACreationIsRetryableOnlyIfRefusedBeforeAnyWork) {
  const ErrorExpectation& row = GetParam();
  expectRowOfCreation(marshall(response(row.status), Method::Post), row);
}

INSTANTIATE_TEST_SUITE_P(All, AmazonDriveError, testing::ValuesIn(kExpectations),
                         TestSupport::RowName());

TEST(AmazonDriveErrorMarshaller, TypeHasTheNumberThatTheRetryStrategyExpects) {
  EXPECT_EQ(static_cast<unsigned>(marshall(response(503)).errorType), 259U);
}

TEST(AmazonDriveErrorMarshaller, CodeAndMessageComeFromTheBody) {
  const Error error = marshall(
      response(409, R"({"logref":"1","message":"Name is taken","code":"NAME_ALREADY_EXISTS"})"));
  EXPECT_EQ(error.exceptionName, "NAME_ALREADY_EXISTS");
  EXPECT_EQ(error.message, "Name is taken");
}

TEST(AmazonDriveErrorMarshaller, EmptyCodeCountsAsMissing) {
  const Error error = marshall(response(400, R"({"logref":"1","message":"Bad","code":""})"));
  EXPECT_EQ(error.exceptionName, "HTTP400");
  EXPECT_EQ(error.message, "Bad");
}

TEST(AmazonDriveErrorMarshaller, MessageOfAGatewayIsKept) {
  const Error error = marshall(response(403, R"({"message":"Forbidden by the gateway"})"));
  EXPECT_EQ(error.exceptionName, "HTTP403");
  EXPECT_EQ(error.message, "Forbidden by the gateway");
}

TEST(AmazonDriveErrorMarshaller, OAuth2FormIsRead) {
  const Error error = marshall(
      response(400, R"({"error":"invalid_token","error_description":"The token is invalid"})"));
  EXPECT_EQ(error.exceptionName, "invalid_token");
  EXPECT_EQ(error.message, "The token is invalid");
}

TEST(AmazonDriveErrorMarshaller, OwnFormHasPrecedenceOverTheOAuth2Form) {
  const Error error =
      marshall(response(400, R"({"error":"e","error_description":"d","code":"c","message":"m"})"));
  EXPECT_EQ(error.exceptionName, "c");
  EXPECT_EQ(error.message, "m");
}

}  // namespace
