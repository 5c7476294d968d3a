#include <gmock/gmock.h>

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "s3_session_fixture.h"

// The S3 operations on buckets, beside what tests/behaviour shows of all services.
namespace {

using testing::_;
using testing::DoAll;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Return;
using testing::SaveArg;
using TestSupport::errorLine;
using TestSupport::S3Model::CreateBucketRequest;
using TestSupport::S3Model::CreateBucketResult;
using TestSupport::S3Model::ListBucketsResult;

class S3ListBucket : public UnitTests::S3Test {
 protected:
  int list() { return s3_list_bucket(&handle_, &buckets_.list, &buckets_.count); }

  TestSupport::BucketListOut buckets_;
};

class S3CreateBucket : public UnitTests::S3Test {};

TEST_F(S3ListBucket, ReturnsTheNamesInTheServicesOrder) {
  EXPECT_CALL(client(), listBuckets())
      .WillOnce(Return(ListBucketsResult{
          {{"zebra", "2019-01-01T00:00:00.000Z"}, {"", ""}, {"\xC3\xA4pfel", "then"}, {"a", ""}}}));

  ASSERT_EQ(list(), 0);
  EXPECT_THAT(buckets_.names(), ElementsAre("zebra", "", "\xC3\xA4pfel", "a"));
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3ListBucket, FillsTheOutsWithSeparateBlocksOfTheStandardAllocator) {
  EXPECT_CALL(client(), listBuckets())
      .WillOnce(Return(ListBucketsResult{{{"one", ""}, {"two", ""}}}));

  ASSERT_EQ(list(), 0);
  std::free(buckets_.list[0]);
  std::free(buckets_.list[1]);
  std::free(buckets_.list);
  buckets_.forget();
}

TEST_F(S3ListBucket, SendsOneRequestWhateverTheNumberOfBuckets) {
  const auto names = UnitTests::numberedNames(0, 2500, "-bucket");
  ListBucketsResult many;
  for (const std::string& name : names) many.buckets.push_back({name, ""});
  EXPECT_CALL(client(), listBuckets()).Times(1).WillOnce(Return(many));

  ASSERT_EQ(list(), 0);
  EXPECT_EQ(buckets_.names(), names);
}

TEST_F(S3ListBucket, OfAnAccountWithoutBucketsReturnsANullArrayAndACountOfZero) {
  EXPECT_CALL(client(), listBuckets()).WillOnce(Return(ListBucketsResult{}));

  EXPECT_EQ(list(), 0);
  EXPECT_TRUE(buckets_.isCleared());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3ListBucket, ReturnsAndLogsEveryErrorTypeAndLeavesTheOutsUnchanged) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    SCOPED_TRACE(type);
    log_.clear();
    EXPECT_CALL(client(), listBuckets()).WillOnce(Return(UnitTests::errorOfType(type)));

    EXPECT_EQ(list(), static_cast<int>(type));
    EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::lineOfErrorType(type))));
    EXPECT_TRUE(buckets_.isUntouched());
  }
}

TEST_F(S3CreateBucket, SendsOneRequestWithNameAndLocation) {
  CreateBucketRequest sent;
  EXPECT_CALL(client(), createBucket(_))
      .Times(1)
      .WillOnce(DoAll(SaveArg<0>(&sent), Return(CreateBucketResult{})));

  EXPECT_EQ(s3_create_bucket(&handle_, "a-bucket", 12), 0);
  EXPECT_EQ(sent.bucket, "a-bucket");
  ASSERT_TRUE(sent.createBucketConfiguration.isPresent());
  const auto& location = sent.createBucketConfiguration.value().locationConstraint;
  EXPECT_TRUE(location.isPresent());
  EXPECT_EQ(static_cast<int>(location.value()), 12);
  EXPECT_TRUE(sent.contentType.empty());
  EXPECT_THAT(log_.records(), IsEmpty());
}

class S3CreateBucketLocation : public S3CreateBucket, public testing::WithParamInterface<int> {};

TEST_P(S3CreateBucketLocation, IsPresentAndUnchanged) {
  CreateBucketRequest sent;
  EXPECT_CALL(client(), createBucket(_))
      .WillOnce(DoAll(SaveArg<0>(&sent), Return(CreateBucketResult{})));

  EXPECT_EQ(s3_create_bucket(&handle_, "b", GetParam()), 0);
  ASSERT_TRUE(sent.createBucketConfiguration.isPresent());
  const auto& location = sent.createBucketConfiguration.value().locationConstraint;
  EXPECT_TRUE(location.isPresent());
  EXPECT_EQ(static_cast<int>(location.value()), GetParam());
}

// All locations, the end mark of the tables, and invalid codes, which the library does not check.
INSTANTIATE_TEST_SUITE_P(Codes, S3CreateBucketLocation,
                         testing::Values(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16,
                                         17, 18, -1, 4711, INT_MAX, INT_MIN));

TEST_F(S3CreateBucket, DoesNotCheckTheName) {
  for (const char* name : UnitTests::kBucketNames) {
    SCOPED_TRACE(name);
    EXPECT_CALL(client(), createBucket(testing::Field(&CreateBucketRequest::bucket, name)))
        .WillOnce(Return(CreateBucketResult{}));
    EXPECT_EQ(s3_create_bucket(&handle_, name, 0), 0);
  }
}

TEST_F(S3CreateBucket, ReturnsAndLogsEveryErrorType) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    SCOPED_TRACE(type);
    log_.clear();
    EXPECT_CALL(client(), createBucket(_)).WillOnce(Return(UnitTests::errorOfType(type)));
    EXPECT_EQ(s3_create_bucket(&handle_, "b", 0), static_cast<int>(type));
    EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::lineOfErrorType(type))));
  }
}

TEST_F(S3CreateBucket, RefusesANullSessionAndThatOfAnotherServiceEvenIfTheNameIsNull) {
  EXPECT_EQ(s3_create_bucket(nullptr, nullptr, 0), -1);
  UnitTests::expectRefusalOfSessionsOfOthersThan(
      "S3", [](session* other) { return s3_create_bucket(other, nullptr, 0); });
  EXPECT_THAT(log_.records(), IsEmpty());
}

}  // namespace
