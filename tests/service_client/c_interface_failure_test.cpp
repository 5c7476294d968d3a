#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <set>
#include <string>

#include "Client/LastFailure.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "libvemlo_service_client.h"
#include "support/drive_operations.h"

namespace {

using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Client::FailureKind;
using CloudStorage::Client::LastFailure;
using CloudStorage::Client::Service;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StrEq;
using TestSupport::response;

vemlo_client_failure lastFailure() {
  vemlo_client_failure failure{};
  failure.size = sizeof(failure);
  EXPECT_EQ(vemlo_client_get_last_failure(&failure), 0);
  return failure;
}

/// One session with a drive.
class LastFailureOfTheThread : public ::testing::Test, protected TestSupport::DropboxFixture {
 protected:
  LastFailureOfTheThread() {
    vemlo_client_reset_last_failure();
    credential->setTokens("access-token", "");
  }
  ~LastFailureOfTheThread() override { vemlo_client_reset_last_failure(); }

  bool list(CloudStorage::Http::Response response) {
    enqueue(std::move(response));
    return TestSupport::DriveOperations<TestSupport::Dropbox>::list(*makeClient(), "/f")
        .isSuccess();
  }
};

TEST_F(LastFailureOfTheThread, IsNoneAtFirst) {
  const auto failure = lastFailure();
  EXPECT_EQ(failure.kind, VEMLO_CLIENT_NO_FAILURE);
  EXPECT_EQ(failure.service, 0);
  EXPECT_EQ(failure.error, 0);
  EXPECT_EQ(failure.http_status, 0);
  EXPECT_EQ(failure.retry_after, -1);
  EXPECT_STREQ(failure.operation, "");
  EXPECT_STREQ(failure.code, "");
  EXPECT_STREQ(failure.message, "");
  EXPECT_STREQ(failure.request_id, "");
}

TEST_F(LastFailureOfTheThread, StatesWhatTheServiceResponded) {
  EXPECT_FALSE(list(response(
      429, R"({"error_summary":"too_many_requests/..","user_message":{"text":"Slow\ndown"}})",
      {{"x-dropbox-request-id", "abc"}, {"retry-after", "300"}})));
  const auto failure = lastFailure();
  EXPECT_EQ(failure.size, sizeof(failure));
  EXPECT_EQ(failure.kind, VEMLO_CLIENT_WAIT);
  EXPECT_EQ(failure.service, VEMLO_CLIENT_DROPBOX);
  EXPECT_EQ(failure.error, 26);
  EXPECT_EQ(failure.http_status, 429);
  EXPECT_EQ(failure.retry_after, 300);
  EXPECT_STREQ(failure.operation, "listFolder");
  EXPECT_STREQ(failure.code, "too_many_requests");
  EXPECT_STREQ(failure.message, "Slow down");
  EXPECT_STREQ(failure.request_id, "abc");
}

TEST_F(LastFailureOfTheThread, HasRequestIdOfAResponseThatIsNotUnderstood) {
  EXPECT_FALSE(list(
      response(200, "<html>", {{"content-type", "text/html"}, {"x-dropbox-request-id", "abc"}})));
  EXPECT_EQ(lastFailure().kind, VEMLO_CLIENT_NOT_UNDERSTOOD);
  EXPECT_STREQ(lastFailure().request_id, "abc");
}

TEST_F(LastFailureOfTheThread, RequestIdIsAShortLineWithoutSecrets) {
  EXPECT_FALSE(list(response(
      500, "", {{"x-dropbox-request-id", "a\naccess-token\x01" + std::string(300, 'x')}})));
  const std::string id = lastFailure().request_id;
  EXPECT_EQ(id.substr(0, 10), "a ***?xxxx");
  EXPECT_EQ(id.size(), 256U);
}

TEST_F(LastFailureOfTheThread, IsNotChangedByASuccess) {
  EXPECT_FALSE(list(response(404)));
  EXPECT_TRUE(list(response(200, R"({"entries":[],"has_more":false})")));
  EXPECT_EQ(lastFailure().http_status, 404);
}

TEST_F(LastFailureOfTheThread, IsForgottenByAReset) {
  EXPECT_FALSE(list(response(404)));
  vemlo_client_reset_last_failure();
  EXPECT_EQ(lastFailure().kind, VEMLO_CLIENT_NO_FAILURE);
}

TEST_F(LastFailureOfTheThread, SizeMustBeThatOfTheFirstVersionAtLeast) {
  EXPECT_EQ(vemlo_client_get_last_failure(nullptr), -1);
  vemlo_client_failure failure;
  std::memset(&failure, 0x5a, sizeof(failure));
  const vemlo_client_failure untouched = failure;
  for (const std::size_t size : {std::size_t{0}, sizeof(failure) - 1}) {
    failure.size = size;
    EXPECT_EQ(vemlo_client_get_last_failure(&failure), -1);
    EXPECT_EQ(failure.kind, untouched.kind);
    EXPECT_EQ(failure.code, untouched.code);
  }
}

TEST_F(LastFailureOfTheThread, MembersOfLaterVersionsAreNotWritten) {
  struct {
    vemlo_client_failure failure;
    std::array<unsigned char, 64> later;
  } record;
  record.later.fill(0x5a);
  record.failure.size = sizeof(record);
  EXPECT_EQ(vemlo_client_get_last_failure(&record.failure), 0);
  EXPECT_EQ(record.failure.size, sizeof(record));
  EXPECT_EQ(record.failure.kind, VEMLO_CLIENT_NO_FAILURE);
  for (const unsigned char byte : record.later) EXPECT_EQ(byte, 0x5a);
}

TEST_F(LastFailureOfTheThread, NumbersAreThoseOfTheLayer) {
  for (std::int32_t kind = VEMLO_CLIENT_LINK_AGAIN; kind <= VEMLO_CLIENT_HOST_FAULT; ++kind) {
    Error error;
    error.errorType = CoreErrors::TemporaryFailure;
    error.kind = static_cast<FailureKind>(kind);
    LastFailure::set(Service::S3, "listBuckets", error);
    EXPECT_EQ(lastFailure().kind, kind);
    EXPECT_EQ(lastFailure().error, 259);
    EXPECT_EQ(lastFailure().service, VEMLO_CLIENT_S3);
  }
}

TEST(KindName, IsOneOfEachKind) {
  std::set<std::string> names;
  for (std::int32_t kind = VEMLO_CLIENT_NO_FAILURE; kind <= VEMLO_CLIENT_HOST_FAULT; ++kind) {
    names.insert(vemlo_client_kind_name(kind));
  }
  EXPECT_EQ(names.size(), 19U);
  EXPECT_EQ(names.count("unknown"), 0U);
  EXPECT_STREQ(vemlo_client_kind_name(VEMLO_CLIENT_LINK_AGAIN), "link again");
  EXPECT_STREQ(vemlo_client_kind_name(VEMLO_CLIENT_HOST_FAULT), "host fault");
}

TEST(KindName, OfAnotherNumberIsUnknown) {
  for (const std::int32_t number : {-1, 19, INT32_MIN, INT32_MAX}) {
    EXPECT_STREQ(vemlo_client_kind_name(number), "unknown") << number;
  }
}

}  // namespace
