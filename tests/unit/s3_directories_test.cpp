#include <gmock/gmock.h>

#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "free_recorder.h"
#include "libvemlo.h"
#include "libvemlo/session.h"
#include "object_store_world.h"
#include "support/log_capture.h"
#include "support/mock_s3_client.h"

namespace {

using CloudStorage::Client::S3::Model::ListObjectsV2Request;
using CloudStorage::Client::S3::Model::ListObjectsV2Result;
using CloudStorage::Client::S3::Model::PutObjectRequest;
using CloudStorage::Client::S3::Model::PutObjectResult;
using testing::_;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Return;
using testing::SaveArg;
using TestSupport::errorLine;
using TestSupport::MockS3Client;
using UnitTests::accessDenied;
using UnitTests::IsAbsent;
using UnitTests::IsPresentAs;
using UnitTests::PageTexts;
using UnitTests::unreadableSession;

// The client is a substitute that fails the test on any call that it was not told to expect.
class S3Directories : public testing::Test {
 protected:
  S3Directories() { handle_.s3_client = new testing::StrictMock<MockS3Client>(); }

  MockS3Client& client() { return static_cast<MockS3Client&>(*handle_.s3_client); }

  session handle_;
  TestSupport::LogCapture log_;
};

class S3ListDirectory : public S3Directories {
 protected:
  ~S3ListDirectory() override {
    if (!outs_.areUntouched()) free_diretories(outs_.list, outs_.count);
  }

  int list(const char* prefix = "photos/") {
    return s3_list_directory(&handle_, "a-bucket", prefix, &outs_.list, &outs_.count);
  }

  // One answer, whose page is gone as soon as the library lets go of it.
  void willAnswer(std::vector<std::string> prefixes, std::vector<std::string> keys = {}) {
    EXPECT_CALL(client(), listObjectsV2(_))
        .WillOnce([this, prefixes = std::move(prefixes),
                   keys = std::move(keys)](const ListObjectsV2Request& request) {
          sent_ = request;
          std::vector<std::string> texts = prefixes;
          texts.insert(texts.end(), keys.begin(), keys.end());
          const PageTexts page(texts);
          ListObjectsV2Result result;
          result.page = page.page();
          for (std::size_t i = 0; i < texts.size(); ++i) {
            if (i < prefixes.size()) result.commonPrefixes.push_back(page.views()[i]);
            if (i >= prefixes.size()) result.objects.push_back({page.views()[i], "", "", "0", ""});
          }
          return result;
        });
  }

  UnitTests::ListOuts<directory> outs_;
  ListObjectsV2Request sent_;
};

class S3CreateDirectory : public S3Directories {};

TEST_F(S3ListDirectory, SendsBucketPrefixAndDelimiterAndNothingElse) {
  willAnswer({});

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
  willAnswer({"photos/", "music/"});

  ASSERT_EQ(list(""), 0);
  EXPECT_THAT(sent_.prefix, IsPresentAs(""));
  EXPECT_THAT(outs_.names(), ElementsAre("photos/", "music/"));
}

TEST_F(S3ListDirectory, SendsThePrefixAsGiven) {
  for (const char* prefix : {"photos", "/", "//a", " a/", "\xC3\xA4/", "a/../b/"}) {
    SCOPED_TRACE(prefix);
    willAnswer({});
    EXPECT_EQ(list(prefix), 0);
    EXPECT_THAT(sent_.prefix, IsPresentAs(prefix));
  }
}

TEST_F(S3ListDirectory, LeavesTheBucketToTheServicesJudgement) {
  for (const char* bucket : {"", "UPPER", "a/b", "\xC3\xA4"}) {
    SCOPED_TRACE(bucket);
    willAnswer({});
    EXPECT_EQ(s3_list_directory(&handle_, bucket, "", &outs_.list, &outs_.count), 0);
    EXPECT_THAT(sent_.bucket, IsPresentAs(bucket));
  }
}

TEST_F(S3ListDirectory, HandsOutFullPrefixesWithTheirTrailingSlash) {
  willAnswer({"photos/2019/", "photos/2020/"});

  ASSERT_EQ(list("photos/"), 0);
  EXPECT_THAT(outs_.names(), ElementsAre("photos/2019/", "photos/2020/"));
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3ListDirectory, GivesNoFolderAnId) {
  willAnswer({"photos/2019/", "photos/2020/"});

  ASSERT_EQ(list(), 0);
  ASSERT_EQ(outs_.count, 2);
  EXPECT_EQ(outs_.list[0].id, nullptr);
  EXPECT_EQ(outs_.list[1].id, nullptr);
}

TEST_F(S3ListDirectory, IgnoresFilesAndTheFoldersOwnMarker) {
  willAnswer({"photos/2019/"}, {"photos/", "photos/a.jpg"});

  ASSERT_EQ(list("photos/"), 0);
  EXPECT_THAT(outs_.names(), ElementsAre("photos/2019/"));
}

TEST_F(S3ListDirectory, KeepsTheServicesOrderAndEveryByte) {
  willAnswer({"z/", "a/", "a/", "", "no slash", " /", "\xC3\xA4\xFF/", "A//"});

  ASSERT_EQ(list(""), 0);
  EXPECT_THAT(outs_.names(),
              ElementsAre("z/", "a/", "a/", "", "no slash", " /", "\xC3\xA4\xFF/", "A//"));
}

TEST_F(S3ListDirectory, AsksForOnePageHoweverFullItIs) {
  const auto names = UnitTests::numberedNames(0, 1000, "/");
  willAnswer(names);  // a second request would be one too many

  ASSERT_EQ(list(""), 0);
  EXPECT_EQ(outs_.names(), names);
}

TEST_F(S3ListDirectory, FillsTheOutsWithSeparateBlocksOfTheStandardAllocator) {
  willAnswer({"one/", "two/"});

  ASSERT_EQ(list(), 0);
  ASSERT_EQ(outs_.count, 2);
  std::free(outs_.list[0].name);
  std::free(outs_.list[1].name);
  std::free(outs_.list);
  outs_ = {};
}

TEST_F(S3ListDirectory, AnEmptyFolderGivesANullArrayAndACountOfZero) {
  willAnswer({});

  EXPECT_EQ(list(), 0);
  EXPECT_TRUE(outs_.areCleared());
  EXPECT_THAT(log_.records(), IsEmpty());
  const UnitTests::FreeRecorder recorder;
  free_diretories(outs_.list, outs_.count);
  EXPECT_THAT(recorder.freed(), IsEmpty());
}

TEST_F(S3ListDirectory, AFolderOfFilesOnlyGivesANullArrayAndACountOfZero) {
  willAnswer({}, {"photos/", "photos/a.jpg"});

  EXPECT_EQ(list("photos/"), 0);
  EXPECT_TRUE(outs_.areCleared());
}

TEST_F(S3ListDirectory, ClearsTheOutsBeforeTheRequest) {
  EXPECT_CALL(client(), listObjectsV2(_)).WillOnce([this](const ListObjectsV2Request&) {
    EXPECT_TRUE(outs_.areCleared());
    return accessDenied();
  });
  EXPECT_EQ(list(), 15);
}

TEST_F(S3ListDirectory, FailureLeavesTheOutsClearedAndLogsTheErrorOnOneLine) {
  EXPECT_CALL(client(), listObjectsV2(_)).WillOnce(Return(accessDenied()));

  EXPECT_EQ(list(), 15);
  EXPECT_TRUE(outs_.areCleared());
  EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::kAccessDeniedLine)));
}

TEST_F(S3ListDirectory, ReturnsWhateverErrorTypeTheClientGives) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    SCOPED_TRACE(type);
    log_.clear();
    outs_ = {};
    EXPECT_CALL(client(), listObjectsV2(_)).WillOnce(Return(UnitTests::errorOfType(type)));
    EXPECT_EQ(list(), static_cast<int>(type));
    EXPECT_TRUE(outs_.areCleared());
    EXPECT_THAT(log_.records(), ElementsAre(errorLine(UnitTests::lineOfErrorType(type))));
  }
}

TEST_F(S3ListDirectory, RefusesEachNullArgumentAndLeavesTheOutsAlone) {
  auto* list = &outs_.list;
  int* count = &outs_.count;
  EXPECT_EQ(s3_list_directory(nullptr, "b", "", list, count), -1);
  EXPECT_EQ(s3_list_directory(&handle_, nullptr, "", list, count), -1);
  EXPECT_EQ(s3_list_directory(&handle_, "b", nullptr, list, count), -1);
  EXPECT_EQ(s3_list_directory(&handle_, "b", "", nullptr, count), -1);
  EXPECT_EQ(s3_list_directory(&handle_, "b", "", list, nullptr), -1);
  EXPECT_TRUE(outs_.areUntouched());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3ListDirectory, RefusesANullSessionWhateverElseIsNull) {
  EXPECT_EQ(s3_list_directory(nullptr, "b", "", nullptr, &outs_.count), -1);
  EXPECT_EQ(s3_list_directory(nullptr, "b", "", &outs_.list, nullptr), -1);
  EXPECT_EQ(s3_list_directory(nullptr, nullptr, nullptr, nullptr, nullptr), -1);
  EXPECT_TRUE(outs_.areUntouched());
}

TEST_F(S3ListDirectory, ChecksAllArgumentsBeforeItLooksIntoTheSession) {
  session* handle = unreadableSession();
  auto* list = &outs_.list;
  int* count = &outs_.count;
  EXPECT_EQ(s3_list_directory(handle, nullptr, "", list, count), -1);
  EXPECT_EQ(s3_list_directory(handle, "b", nullptr, list, count), -1);
  EXPECT_EQ(s3_list_directory(handle, "b", "", nullptr, count), -1);
  EXPECT_EQ(s3_list_directory(handle, "b", "", list, nullptr), -1);
  EXPECT_TRUE(outs_.areUntouched());
}

TEST_F(S3ListDirectory, RefusesASessionOfAnotherServiceAndLeavesTheOutsAlone) {
  UnitTests::withSessionsOfOthersThan("S3", [this](session* other) {
    log_.clear();
    EXPECT_EQ(s3_list_directory(other, "b", "", &outs_.list, &outs_.count), -1);
    EXPECT_TRUE(outs_.areUntouched());
    EXPECT_THAT(log_.records(), IsEmpty());
  });
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

TEST_F(S3CreateDirectory, MakesNoParents) {
  std::vector<std::string> keys;
  EXPECT_CALL(client(), putObject(_)).WillOnce([&keys](const PutObjectRequest& request) {
    keys.push_back(request.key.value());
    return PutObjectResult{};
  });

  EXPECT_EQ(s3_create_directory(&handle_, "b", "x/y/"), 0);
  EXPECT_THAT(keys, ElementsAre("x/y/"));
}

TEST_F(S3CreateDirectory, SendsEveryUsableKeyAsGiven) {
  for (const char* key : UnitTests::kUsableFolderKeys) {
    SCOPED_TRACE(key);
    EXPECT_CALL(client(), putObject(testing::Field(&PutObjectRequest::key, IsPresentAs(key))))
        .WillOnce(Return(PutObjectResult{}));
    EXPECT_EQ(s3_create_directory(&handle_, "b", key), 0);
  }
}

TEST_F(S3CreateDirectory, RefusesKeysThatNameNoFolder) {
  for (const char* key : UnitTests::kUnusableFolderKeys) {
    SCOPED_TRACE(key);
    EXPECT_EQ(s3_create_directory(&handle_, "b", key), -1);
  }
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3CreateDirectory, LeavesTheBucketToTheServicesJudgement) {
  for (const char* bucket : {"", "UPPER", "a/b", "\xC3\xA4"}) {
    SCOPED_TRACE(bucket);
    EXPECT_CALL(client(), putObject(testing::Field(&PutObjectRequest::bucket, bucket)))
        .WillOnce(Return(PutObjectResult{}));
    EXPECT_EQ(s3_create_directory(&handle_, bucket, "a/"), 0);
  }
}

TEST_F(S3CreateDirectory, FailsSilentlyWithWhateverErrorTypeTheClientGives) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    SCOPED_TRACE(type);
    EXPECT_CALL(client(), putObject(_)).WillOnce(Return(UnitTests::errorOfType(type)));
    EXPECT_EQ(s3_create_directory(&handle_, "b", "a/"), static_cast<int>(type));
  }
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3CreateDirectory, RefusesANullSessionAndANullKey) {
  EXPECT_EQ(s3_create_directory(nullptr, "b", "a/"), -1);
  EXPECT_EQ(s3_create_directory(&handle_, "b", nullptr), -1);
  EXPECT_EQ(s3_create_directory(nullptr, nullptr, nullptr), -1);
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(S3CreateDirectory, ChecksTheKeyBeforeItLooksIntoTheSessionOrAtTheBucket) {
  EXPECT_EQ(s3_create_directory(unreadableSession(), nullptr, nullptr), -1);
  for (const char* key : UnitTests::kUnusableFolderKeys) {
    SCOPED_TRACE(key);
    EXPECT_EQ(s3_create_directory(unreadableSession(), nullptr, key), -1);
  }
}

TEST_F(S3CreateDirectory, RefusesASessionOfAnotherServiceWhateverTheBucketIs) {
  UnitTests::withSessionsOfOthersThan("S3", [this](session* other) {
    log_.clear();
    EXPECT_EQ(s3_create_directory(other, "b", "a/"), -1);
    EXPECT_EQ(s3_create_directory(other, nullptr, "a/"), -1);
    EXPECT_THAT(log_.records(), IsEmpty());
  });
}

}  // namespace
