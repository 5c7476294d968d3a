#include <gmock/gmock.h>

#include <climits>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "free_recorder.h"
#include "libvemlo.h"
#include "libvemlo/session.h"
#include "support/log_capture.h"
#include "support/mock_s3_client.h"

namespace {

using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Client::S3::Model::CreateBucketRequest;
using CloudStorage::Client::S3::Model::CreateBucketResult;
using CloudStorage::Client::S3::Model::ListBucketsResult;
using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Return;
using testing::SaveArg;
using TestSupport::errorLine;
using TestSupport::MockS3Client;

Error accessDenied() {
  return {CoreErrors::AccessDenied, "AccessDenied", "Access Denied",
          {{"location", "x"}},      false,          403};
}

constexpr char kAccessDeniedLine[] =
    "{ Error type: 15, Exception: AccessDenied, Message: Access Denied, HttpResponseCode: 403, "
    "Retryable: 0 }";

// A session as a test wants it: the client is a substitute that fails the test on any call that it
// was not told to expect.
class S3Buckets : public testing::Test {
 protected:
  S3Buckets() { handle_.s3_client = new testing::StrictMock<MockS3Client>(); }

  MockS3Client& client() { return static_cast<MockS3Client&>(*handle_.s3_client); }

  int list() { return s3_list_bucket(&handle_, &buckets_, &count_); }

  void expectOutsUntouched() const {
    EXPECT_EQ(buckets_, kUntouched);
    EXPECT_EQ(count_, 4711);
  }

  static inline char* untouchedText_ = nullptr;
  static inline char** const kUntouched = &untouchedText_;

  session handle_;
  char** buckets_ = kUntouched;
  int count_ = 4711;
  TestSupport::LogCapture log_;
};

class S3ListBucket : public S3Buckets {};
class S3CreateBucket : public S3Buckets {};

// No session in the sense of the library: reading it would be noticed.
session* unreadableSession() { return reinterpret_cast<session*>(std::uintptr_t{64}); }

TEST_F(S3ListBucket, HandsOutTheNamesInTheServicesOrder) {
  EXPECT_CALL(client(), listBuckets())
      .WillOnce(Return(ListBucketsResult{
          {{"zebra", "2019-01-01T00:00:00.000Z"}, {"", ""}, {"\xC3\xA4pfel", "then"}, {"a", ""}}}));

  ASSERT_EQ(list(), 0);
  ASSERT_EQ(count_, 4);
  EXPECT_STREQ(buckets_[0], "zebra");
  EXPECT_STREQ(buckets_[1], "");
  EXPECT_STREQ(buckets_[2], "\xC3\xA4pfel");
  EXPECT_STREQ(buckets_[3], "a");
  EXPECT_THAT(log_.records(), IsEmpty());
  free_buckets(buckets_, count_);
}

TEST_F(S3ListBucket, FillsTheOutsWithSeparateBlocksOfTheStandardAllocator) {
  EXPECT_CALL(client(), listBuckets())
      .WillOnce(Return(ListBucketsResult{{{"one", ""}, {"two", ""}}}));

  ASSERT_EQ(list(), 0);
  std::free(buckets_[0]);
  std::free(buckets_[1]);
  std::free(buckets_);
}

TEST_F(S3ListBucket, AsksOnceHoweverManyBucketsThereAre) {
  ListBucketsResult many;
  std::vector<std::string> names;
  for (int i = 0; i < 2500; ++i) names.push_back("bucket-" + std::to_string(i));
  for (const std::string& name : names) many.buckets.push_back({name, ""});
  EXPECT_CALL(client(), listBuckets()).Times(1).WillOnce(Return(many));

  ASSERT_EQ(list(), 0);
  ASSERT_EQ(count_, 2500);
  EXPECT_STREQ(buckets_[2499], "bucket-2499");
  free_buckets(buckets_, count_);
}

TEST_F(S3ListBucket, AnAccountWithoutBucketsGivesANullArrayAndACountOfZero) {
  EXPECT_CALL(client(), listBuckets()).WillOnce(Return(ListBucketsResult{}));

  EXPECT_EQ(list(), 0);
  EXPECT_EQ(buckets_, nullptr);
  EXPECT_EQ(count_, 0);
  EXPECT_THAT(log_.records(), IsEmpty());
  {
    const UnitTests::FreeRecorder recorder;
    free_buckets(buckets_, count_);
    EXPECT_THAT(recorder.freed(), IsEmpty());
  }
}

TEST_F(S3ListBucket, FailureReturnsTheErrorTypeAndLogsTheErrorOnOneLine) {
  EXPECT_CALL(client(), listBuckets()).WillOnce(Return(accessDenied()));

  EXPECT_EQ(list(), 15);
  EXPECT_THAT(log_.records(), ElementsAre(errorLine(kAccessDeniedLine)));
}

TEST_F(S3ListBucket, FailureLeavesTheOutsAsTheyWere) {
  EXPECT_CALL(client(), listBuckets()).WillOnce(Return(accessDenied()));

  EXPECT_EQ(list(), 15);
  expectOutsUntouched();
}

TEST_F(S3ListBucket, ReturnsWhateverErrorTypeTheClientGives) {
  for (const std::uint32_t type : {0U, 1U, 17U, 259U, 2147483648U, 4294967295U}) {
    SCOPED_TRACE(type);
    log_.clear();
    EXPECT_CALL(client(), listBuckets())
        .WillOnce(Return(Error{static_cast<CoreErrors>(type), "Name", "", {}, true, -1}));

    EXPECT_EQ(list(), static_cast<int>(type));
    EXPECT_THAT(log_.records(),
                ElementsAre(errorLine("{ Error type: " + std::to_string(type) +
                                      ", Exception: Name, Message: , HttpResponseCode: -1, "
                                      "Retryable: 1 }")));
    expectOutsUntouched();
  }
}

TEST_F(S3ListBucket, RefusesANullSession) {
  EXPECT_EQ(s3_list_bucket(nullptr, &buckets_, &count_), -1);
  expectOutsUntouched();
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3ListBucket, RefusesANullArrayPointer) {
  EXPECT_EQ(s3_list_bucket(&handle_, nullptr, &count_), -1);
  expectOutsUntouched();
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3ListBucket, RefusesANullCountPointer) {
  EXPECT_EQ(s3_list_bucket(&handle_, &buckets_, nullptr), -1);
  expectOutsUntouched();
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3ListBucket, RefusesANullArrayOrCountPointerEvenIfTheSessionIsNull) {
  EXPECT_EQ(s3_list_bucket(nullptr, nullptr, &count_), -1);
  EXPECT_EQ(s3_list_bucket(nullptr, &buckets_, nullptr), -1);
  EXPECT_EQ(s3_list_bucket(nullptr, nullptr, nullptr), -1);
  expectOutsUntouched();
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3ListBucket, ChecksTheOutPointersBeforeItLooksIntoTheSession) {
  EXPECT_EQ(s3_list_bucket(unreadableSession(), nullptr, &count_), -1);
  EXPECT_EQ(s3_list_bucket(unreadableSession(), &buckets_, nullptr), -1);
  expectOutsUntouched();
}

TEST_F(S3ListBucket, RefusesASessionOfAnotherService) {
  session other;
  EXPECT_EQ(s3_list_bucket(&other, &buckets_, &count_), -1);
  expectOutsUntouched();
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3CreateBucket, SendsNameAndLocationOnce) {
  CreateBucketRequest sent;
  EXPECT_CALL(client(), createBucket(_))
      .Times(1)
      .WillOnce(testing::DoAll(SaveArg<0>(&sent), Return(CreateBucketResult{})));

  EXPECT_EQ(s3_create_bucket(&handle_, "a-bucket", 12), 0);
  EXPECT_EQ(sent.bucket, "a-bucket");
  ASSERT_TRUE(sent.createBucketConfiguration.isPresent());
  const auto& location = sent.createBucketConfiguration.value().locationConstraint;
  EXPECT_TRUE(location.isPresent());
  EXPECT_EQ(static_cast<int>(location.value()), 12);
  EXPECT_TRUE(sent.contentType.empty());
  EXPECT_THAT(log_.records(), IsEmpty());
}

class S3CreateBucketLocation : public S3Buckets, public testing::WithParamInterface<int> {};

TEST_P(S3CreateBucketLocation, IsPresentAndPassedOnAsGiven) {
  CreateBucketRequest sent;
  EXPECT_CALL(client(), createBucket(_))
      .WillOnce(testing::DoAll(SaveArg<0>(&sent), Return(CreateBucketResult{})));

  EXPECT_EQ(s3_create_bucket(&handle_, "b", GetParam()), 0);
  ASSERT_TRUE(sent.createBucketConfiguration.isPresent());
  const auto& location = sent.createBucketConfiguration.value().locationConstraint;
  EXPECT_TRUE(location.isPresent());
  EXPECT_EQ(static_cast<int>(location.value()), GetParam());
}

// All there are, the mark that ends the tables, and nonsense: the library judges none of them.
INSTANTIATE_TEST_SUITE_P(Codes, S3CreateBucketLocation,
                         testing::Values(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16,
                                         17, 18, -1, 4711, INT_MAX, INT_MIN));

TEST_F(S3CreateBucket, LeavesTheNameToTheServicesJudgement) {
  for (const char* name : {"", "UPPER", "a/b", "\xC3\xA4", " "}) {
    SCOPED_TRACE(name);
    CreateBucketRequest sent;
    EXPECT_CALL(client(), createBucket(_))
        .WillOnce(testing::DoAll(SaveArg<0>(&sent), Return(CreateBucketResult{})));
    EXPECT_EQ(s3_create_bucket(&handle_, name, 0), 0);
    EXPECT_EQ(sent.bucket, name);
  }
}

TEST_F(S3CreateBucket, FailureReturnsTheErrorTypeAndLogsTheErrorOnOneLine) {
  EXPECT_CALL(client(), createBucket(_)).WillOnce(Return(accessDenied()));

  EXPECT_EQ(s3_create_bucket(&handle_, "a-bucket", 0), 15);
  EXPECT_THAT(log_.records(), ElementsAre(errorLine(kAccessDeniedLine)));
}

TEST_F(S3CreateBucket, ReturnsWhateverErrorTypeTheClientGives) {
  for (const std::uint32_t type : {0U, 20U, 259U, 4294967295U}) {
    SCOPED_TRACE(type);
    log_.clear();
    EXPECT_CALL(client(), createBucket(_))
        .WillOnce(Return(Error{static_cast<CoreErrors>(type), "", "m", {}, false, 0}));
    EXPECT_EQ(s3_create_bucket(&handle_, "b", 0), static_cast<int>(type));
    EXPECT_THAT(log_.records(), ElementsAre(errorLine("{ Error type: " + std::to_string(type) +
                                                      ", Exception: , Message: m, "
                                                      "HttpResponseCode: 0, Retryable: 0 }")));
  }
}

TEST_F(S3CreateBucket, RefusesANullSession) {
  EXPECT_EQ(s3_create_bucket(nullptr, "a-bucket", 0), -1);
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3CreateBucket, RefusesASessionOfAnotherService) {
  session other;
  EXPECT_EQ(s3_create_bucket(&other, "a-bucket", 0), -1);
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3CreateBucket, ChecksTheSessionAloneWhateverTheNameIs) {
  session other;
  EXPECT_EQ(s3_create_bucket(nullptr, nullptr, 0), -1);
  EXPECT_EQ(s3_create_bucket(&other, nullptr, 0), -1);
  EXPECT_THAT(log_.records(), IsEmpty());
}

}  // namespace
