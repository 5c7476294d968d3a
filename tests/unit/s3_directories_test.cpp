#include <gmock/gmock.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "s3_session_fixture.h"

// The S3 operations on folders, beside what tests/behaviour shows of all services.
namespace {

using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Return;
using testing::SaveArg;
using TestSupport::errorLine;
using TestSupport::S3Model::ListObjectsV2Request;
using TestSupport::S3Model::ListObjectsV2Result;
using TestSupport::S3Model::PutObjectRequest;
using TestSupport::S3Model::PutObjectResult;
using UnitTests::IsAbsent;
using UnitTests::IsPresentAs;
using UnitTests::PageTexts;

class S3ListDirectory : public UnitTests::S3Test {
 protected:
  int list(const char* prefix = "photos/") {
    folders_.reset();
    return s3_list_directory(&handle_, "a-bucket", prefix, &folders_.list, &folders_.count);
  }

  // One response, whose texts are released as soon as the library releases it.
  void willReturn(std::vector<std::string> prefixes, std::vector<std::string> keys = {}) {
    EXPECT_CALL(client(), listObjectsV2(_))
        .WillOnce([this, prefixes = std::move(prefixes),
                   keys = std::move(keys)](const ListObjectsV2Request& request) {
          sent_ = request;
          std::vector<std::string> texts = prefixes;
          texts.insert(texts.end(), keys.begin(), keys.end());
          const PageTexts page(texts);
          ListObjectsV2Result result;
          result.storage = page.page();
          for (std::size_t i = 0; i < texts.size(); ++i) {
            if (i < prefixes.size()) result.commonPrefixes.push_back(page.views()[i]);
            if (i >= prefixes.size()) result.objects.push_back({page.views()[i], "", "", "0", ""});
          }
          return result;
        });
  }

  TestSupport::FolderListOut folders_;
  ListObjectsV2Request sent_;
};

using S3CreateDirectory = UnitTests::S3Test;

TEST_F(S3ListDirectory, SendsBucketPrefixAndDelimiterAndNothingElse) {
  willReturn({});

  EXPECT_EQ(list("photos/2019/"), 0);
  EXPECT_THAT(sent_.bucket, IsPresentAs("a-bucket"));
  EXPECT_THAT(sent_.prefix, IsPresentAs("photos/2019/"));
  EXPECT_THAT(sent_.delimiter, IsPresentAs("/"));
  EXPECT_THAT(sent_.continuationToken, IsAbsent());
  EXPECT_THAT(sent_.encodingType, IsAbsent());
  EXPECT_THAT(sent_.maxKeys, IsAbsent());
  EXPECT_THAT(sent_.startAfter, IsAbsent());
  EXPECT_THAT(sent_.contentType, IsEmpty());
}

TEST_F(S3ListDirectory, TheEmptyPrefixIsSentAndListsTheTopLevel) {
  willReturn({"photos/", "music/"});

  ASSERT_EQ(list(""), 0);
  EXPECT_THAT(sent_.prefix, IsPresentAs(""));
  EXPECT_THAT(folders_.names(), ElementsAre("photos/", "music/"));
}

TEST_F(S3ListDirectory, SendsThePrefixUnchanged) {
  for (const char* prefix : UnitTests::kPrefixes) {
    SCOPED_TRACE(prefix);
    willReturn({});
    EXPECT_EQ(list(prefix), 0);
    EXPECT_THAT(sent_.prefix, IsPresentAs(prefix));
  }
}

TEST_F(S3ListDirectory, DoesNotCheckTheBucket) {
  for (const char* bucket : UnitTests::kBucketNames) {
    SCOPED_TRACE(bucket);
    willReturn({});
    folders_.reset();
    EXPECT_EQ(s3_list_directory(&handle_, bucket, "", &folders_.list, &folders_.count), 0);
    EXPECT_THAT(sent_.bucket, IsPresentAs(bucket));
  }
}

TEST_F(S3ListDirectory, ReturnsFullPrefixesWithTheirTrailingSlash) {
  willReturn({"photos/2019/", "photos/2020/"});

  ASSERT_EQ(list("photos/"), 0);
  EXPECT_THAT(folders_.names(), ElementsAre("photos/2019/", "photos/2020/"));
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3ListDirectory, ReturnsFoldersWithoutIds) {
  willReturn({"photos/2019/", "photos/2020/"});

  ASSERT_EQ(list(), 0);
  ASSERT_EQ(folders_.count, 2);
  EXPECT_EQ(folders_.list[0].id, nullptr);
  EXPECT_EQ(folders_.list[1].id, nullptr);
}

TEST_F(S3ListDirectory, IgnoresFilesAndTheMarkerOfTheFolder) {
  willReturn({"photos/2019/"}, {"photos/", "photos/a.jpg"});

  ASSERT_EQ(list("photos/"), 0);
  EXPECT_THAT(folders_.names(), ElementsAre("photos/2019/"));
}

TEST_F(S3ListDirectory, KeepsTheServicesOrderAndEveryByte) {
  willReturn({"z/", "a/", "a/", "", "no slash", " /", "\xC3\xA4\xFF/", "A//"});

  ASSERT_EQ(list(""), 0);
  EXPECT_THAT(folders_.names(),
              ElementsAre("z/", "a/", "a/", "", "no slash", " /", "\xC3\xA4\xFF/", "A//"));
}

TEST_F(S3ListDirectory, FillsTheOutsWithSeparateBlocksOfTheStandardAllocator) {
  willReturn({"one/", "two/"});

  ASSERT_EQ(list(), 0);
  ASSERT_EQ(folders_.count, 2);
  std::free(folders_.list[0].name);
  std::free(folders_.list[1].name);
  std::free(folders_.list);
  folders_.forget();
}

TEST_F(S3ListDirectory, OfAnEmptyFolderReturnsANullArrayAndACountOfZero) {
  willReturn({});

  EXPECT_EQ(list(), 0);
  EXPECT_TRUE(folders_.isCleared());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3ListDirectory, OfAFolderOfFilesReturnsANullArrayAndACountOfZero) {
  willReturn({}, {"photos/", "photos/a.jpg"});

  EXPECT_EQ(list("photos/"), 0);
  EXPECT_TRUE(folders_.isCleared());
}

TEST_F(S3ListDirectory, ReturnsAndLogsEveryErrorType) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    SCOPED_TRACE(type);
    log_.clear();
    EXPECT_CALL(client(), listObjectsV2(_)).WillOnce(Return(UnitTests::errorOfType(type)));
    EXPECT_EQ(list(), static_cast<int>(type));
    EXPECT_TRUE(folders_.isCleared());
    EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::lineOfErrorType(type))));
  }
}

TEST_F(S3CreateDirectory, SendsOneEmptyObjectNamedLikeTheFolder) {
  PutObjectRequest sent;
  EXPECT_CALL(client(), putObject(_))
      .WillOnce(testing::DoAll(SaveArg<0>(&sent), Return(PutObjectResult{})));

  EXPECT_EQ(s3_create_directory(&handle_, "a-bucket", "photos/2020/"), 0);
  EXPECT_EQ(sent.bucket, "a-bucket");
  EXPECT_THAT(sent.key, IsPresentAs("photos/2020/"));
  EXPECT_THAT(sent.contentLength, IsPresentAs(0));
  EXPECT_EQ(sent.body, nullptr);
  EXPECT_THAT(sent.contentType, IsEmpty());
  EXPECT_THAT(sent.getRequestSpecificHeaders(), IsEmpty());
  EXPECT_THAT(log_.records(), IsEmpty());
}

}  // namespace
