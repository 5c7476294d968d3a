#include <gtest/gtest.h>

#include <string>

#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "support/error_expectation.h"
#include "support/responses.h"

namespace {

using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Client::Dropbox::DropboxErrorMarshaller;
using CloudStorage::Http::Method;
using TestSupport::ErrorExpectation;
using TestSupport::expectRow;
using TestSupport::response;

Error marshall(const CloudStorage::Http::Response& response) {
  return DropboxErrorMarshaller().marshall(response, Method::Post);
}

std::string body(const std::string& summary) {
  return R"({"error_summary":")" + summary + R"(","error":{".tag":"other"}})";
}

const ErrorExpectation kExpectations[] = {
    {400, "", CoreErrors::InvalidRequest, false},
    {401, "expired_access_token", CoreErrors::NotAuthenticated, false},
    {401, "invalid_access_token", CoreErrors::NotAuthenticated, false},
    {401, "invalid_select_user", CoreErrors::NotAuthenticated, false},
    {401, "user_suspended", CoreErrors::AccountProblem, false},
    {401, "missing_scope", CoreErrors::AccessDenied, false},
    {401, "route_access_denied", CoreErrors::AccessDenied, false},
    {403, "invalid_account_type", CoreErrors::AccountProblem, false},
    {403, "paper_access_denied", CoreErrors::AccessDenied, false},
    {409, "path/not_found", CoreErrors::NotFound, false},
    {409, "path/malformed_path", CoreErrors::InvalidRequest, false},
    {409, "path/conflict/folder", CoreErrors::Conflict, false},
    {409, "path/conflict/file", CoreErrors::Conflict, false},
    {409, "path/no_write_permission", CoreErrors::AccessDenied, false},
    {409, "path/insufficient_space", CoreErrors::QuotaExceeded, false},
    {409, "reset", CoreErrors::Conflict, false},
    {422, "invalid_root", CoreErrors::InvalidRequest, false},
    {422, "no_permission", CoreErrors::AccessDenied, false},
    {429, "too_many_requests", CoreErrors::Throttled, true},
    {429, "too_many_write_operations", CoreErrors::Throttled, true},
    {500, "", CoreErrors::ServiceFailure, true},
    {502, "", CoreErrors::ServiceFailure, true},
    {503, "", CoreErrors::ServiceFailure, true},
    {504, "", CoreErrors::ServiceFailure, true},
};

using DropboxError = TestSupport::ErrorTable;

TEST_P(DropboxError, HasTheTypeAndFlagOfItsRow) {
  const ErrorExpectation& row = GetParam();
  expectRow(marshall(response(row.status, row.code.empty() ? "" : body(row.code + "/..."))), row);
}

TEST_P(DropboxError, MayHaveFurtherSegments) {
  const ErrorExpectation& row = GetParam();
  if (row.code.empty()) {
    EXPECT_EQ(marshall(response(row.status, body("new/.."))).errorType, row.type);
  } else {
    EXPECT_EQ(marshall(response(row.status, body(row.code + "/new/.."))).errorType, row.type);
  }
}

INSTANTIATE_TEST_SUITE_P(All, DropboxError, testing::ValuesIn(kExpectations),
                         TestSupport::RowName());

TEST(DropboxErrorMarshaller, TrailingSlashesAndDotsAreNoPartOfTheName) {
  EXPECT_EQ(marshall(response(409, body("path/conflict/folder/..."))).exceptionName,
            "path/conflict/folder");
  EXPECT_EQ(marshall(response(401, body("missing_scope/."))).exceptionName, "missing_scope");
  EXPECT_EQ(marshall(response(401, body("missing_scope/"))).exceptionName, "missing_scope");
  EXPECT_EQ(marshall(response(401, body("missing_scope"))).exceptionName, "missing_scope");
}

TEST(DropboxErrorMarshaller, SummaryOfDotsIsNoName) {
  EXPECT_EQ(marshall(response(409, body("..."))).exceptionName, "HTTP409");
}

TEST(DropboxErrorMarshaller, SummaryIsTheMessage) {
  EXPECT_EQ(marshall(response(409, body("path/not_found/.."))).message, "path/not_found/..");
}

TEST(DropboxErrorMarshaller, MessageMadeForTheUserIsPreferred) {
  const Error error = marshall(response(
      409,
      R"({"error_summary":"path/conflict/..","user_message":{"locale":"en","text":"Taken"}})"));
  EXPECT_EQ(error.exceptionName, "path/conflict");
  EXPECT_EQ(error.message, "Taken");
}

TEST(DropboxErrorMarshaller, UserMessageOfAnotherTypeIsIgnored) {
  const Error error =
      marshall(response(409, R"({"error_summary":"path/conflict/..","user_message":"Taken"})"));
  EXPECT_EQ(error.message, "path/conflict/..");
}

TEST(DropboxErrorMarshaller, PlainTextIsBadInput) {
  const Error error = marshall(response(400, "Error in call to API function: bad\nfield\n"));
  EXPECT_EQ(error.errorType, CoreErrors::InvalidRequest);
  EXPECT_EQ(error.exceptionName, "bad_input");
  EXPECT_EQ(error.message, "Error in call to API function: bad field");
}

TEST(DropboxErrorMarshaller, LongPlainTextIsCut) {
  EXPECT_EQ(marshall(response(400, std::string(1000, 'x'))).message, std::string(256, 'x'));
}

TEST(DropboxErrorMarshaller, PlainTextOfAnotherStatusIsTheMessageOnly) {
  const Error error = marshall(response(429, "Slow down"));
  EXPECT_EQ(error.errorType, CoreErrors::Throttled);
  EXPECT_EQ(error.exceptionName, "HTTP429");
  EXPECT_EQ(error.message, "Slow down");
}

TEST(DropboxErrorMarshaller, HtmlPageIsNotEchoed) {
  for (const auto page :
       {"<html><body>Bad request</body></html>", "\xEF\xBB\xBF\n <!DOCTYPE html>"}) {
    const Error error = marshall(response(400, page));
    EXPECT_EQ(error.exceptionName, "HTTP400");
    EXPECT_EQ(error.message, "Bad Request");
  }
}

}  // namespace
