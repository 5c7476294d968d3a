#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/google_drive_fixture.h"

namespace {

namespace Model = CloudStorage::Client::GoogleDrive::Model;
using CloudStorage::Client::Error;
using CloudStorage::Util::Outcome;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::googleError;
using TestSupport::response;

constexpr char kAddress[] = "GET https://www.googleapis.com/drive/v3/files?";
constexpr char kEnd[] =
    "fields=nextPageToken%2Cfiles%28id%2Cname%29&supportsAllDrives=true"
    "&includeItemsFromAllDrives=true&prettyPrint=false";

/// The request that the library makes.
Model::ListFileResourceRequest foldersOf(const std::string& parent) {
  Model::ListFileResourceRequest request;
  request.orderBy = "folder,name";
  request.pageSize = 500;
  request.query = "'" + parent +
                  "' in parents and trashed = false and mimeType = "
                  "'application/vnd.google-apps.folder'";
  return request;
}

class GoogleDriveListing : public ::testing::Test, protected TestSupport::GoogleDriveFixture {
 protected:
  using PageOutcome = Outcome<Model::ListFileResourceResult, Error>;

  std::string lineOf(const Model::ListFileResourceRequest& request) {
    enqueue(response(200, "{}"));
    EXPECT_TRUE(makeClient()->listFileResource(request).isSuccess());
    return lines().back();
  }

  PageOutcome read(const std::string& body) {
    enqueue(response(200, body, {{"content-type", "application/json; charset=UTF-8"}}));
    return makeClient()->listFileResource(foldersOf("X"));
  }

  // "id=name" of each file on a page with these files.
  std::vector<std::string> filesFrom(const std::string& files) {
    const auto outcome = read(R"({"files":)" + files + "}");
    std::vector<std::string> texts;
    if (!outcome.isSuccess()) return {"failed: " + outcome.getError().message};
    for (const auto& file : outcome.getResult().files) {
      texts.push_back(std::string(file.id) + "=" + std::string(file.name));
    }
    return texts;
  }
};

TEST_F(GoogleDriveListing, RequestsIdsAndNamesOnSharedDrivesToo) {
  EXPECT_EQ(lineOf(foldersOf("X")),
            kAddress +
                std::string("orderBy=folder%2Cname&pageSize=500"
                            "&q=%27X%27%20in%20parents%20and%20trashed%20%3D%20false%20and%20"
                            "mimeType%20%3D%20%27application%2Fvnd.google-apps.folder%27&") +
                kEnd);
  const auto request = requests().at(0);
  EXPECT_THAT(request.body, IsEmpty());
  EXPECT_EQ(request.headers.at("accept"), "application/json");
  EXPECT_EQ(request.headers.at("authorization"), "Bearer token-1");
}

TEST_F(GoogleDriveListing, OnlyPresentParametersAreSent) {
  Model::ListFileResourceRequest request;
  EXPECT_EQ(lineOf(request), std::string(kAddress) + kEnd);
  request.orderBy = "name";
  EXPECT_EQ(lineOf(request), kAddress + std::string("orderBy=name&") + kEnd);
  request = {};
  request.pageSize = 7;
  EXPECT_EQ(lineOf(request), kAddress + std::string("pageSize=7&") + kEnd);
  request = {};
  request.pageToken = "~!!~AI9F+/=";
  EXPECT_EQ(lineOf(request), kAddress + std::string("pageToken=~%21%21~AI9F%2B%2F%3D&") + kEnd);
  request = {};
  request.query = "trashed = false";
  EXPECT_EQ(lineOf(request), kAddress + std::string("q=trashed%20%3D%20false&") + kEnd);
}

TEST_F(GoogleDriveListing, EmptyPageTokenCountsAsAbsent) {
  Model::ListFileResourceRequest request;
  request.pageToken.markPresent();
  EXPECT_EQ(lineOf(request), std::string(kAddress) + kEnd);
}

TEST_F(GoogleDriveListing, QuoteInAnIdIsNotEscaped) {
  EXPECT_THAT(lineOf(foldersOf("it's")), ::testing::HasSubstr("&q=%27it%27s%27%20in%20parents"));
}

TEST_F(GoogleDriveListing, NextPageDiffersInItsTokenAlone) {
  auto request = foldersOf("X");
  const std::string first = lineOf(request);
  request.pageToken = "t";
  std::string second = lineOf(request);
  const std::string parameter = "pageToken=t&";
  second.erase(second.find(parameter), parameter.size());
  EXPECT_EQ(second, first);
}

TEST_F(GoogleDriveListing, ReadsFilesInTheServicesOrder) {
  const auto outcome = read(R"({
    "kind": "drive#fileList", "nextPageToken": "~!!~AI9F", "incompleteSearch": true,
    "files": [{"kind":"drive#file","id":"1Abc","name":"b","parents":["p"],"unknown":{"id":"x"}},
              {"name":"a\u00e4 \"q\"","id":"2"},{"id":"3","name":""}]})");
  ASSERT_TRUE(outcome.isSuccess()) << outcome.getError();
  const auto& page = outcome.getResult();
  EXPECT_EQ(page.nextPageToken, "~!!~AI9F");
  ASSERT_THAT(page.files, SizeIs(3));
  EXPECT_EQ(page.files[0].id, "1Abc");
  EXPECT_EQ(page.files[0].name, "b");
  EXPECT_EQ(page.files[1].id, "2");
  EXPECT_EQ(page.files[1].name, "a\xC3\xA4 \"q\"");
  EXPECT_EQ(page.files[2].id, "3");
  EXPECT_EQ(page.files[2].name, "");
}

TEST_F(GoogleDriveListing, LastPageHasNoToken) {
  for (const auto* body : {"{}", R"({"files":[]})", R"({"nextPageToken":""})",
                           R"({"nextPageToken":null})", R"({"nextPageToken":5})"}) {
    SCOPED_TRACE(body);
    const auto outcome = read(body);
    ASSERT_TRUE(outcome.isSuccess()) << outcome.getError();
    EXPECT_THAT(outcome.getResult().nextPageToken, IsEmpty());
    EXPECT_THAT(outcome.getResult().files, IsEmpty());
  }
}

TEST_F(GoogleDriveListing, EmptyPageMayHaveANextPage) {
  for (const auto* body : {R"({"nextPageToken":"t","files":[]})", R"({"nextPageToken":"t"})",
                           R"({"files":null,"nextPageToken":"t"})"}) {
    SCOPED_TRACE(body);
    const auto outcome = read(body);
    ASSERT_TRUE(outcome.isSuccess()) << outcome.getError();
    EXPECT_EQ(outcome.getResult().nextPageToken, "t");
    EXPECT_THAT(outcome.getResult().files, IsEmpty());
  }
}

TEST_F(GoogleDriveListing, EntriesMayBeIncomplete) {
  EXPECT_THAT(filesFrom(R"([{"id":"1"},{"name":"b"},{},{"id":null,"name":7},{"id":"5"}])"),
              ElementsAre("1=", "5="));
}

TEST_F(GoogleDriveListing, NamesAreUnescaped) {
  EXPECT_THAT(filesFrom(R"([{"id":"1","name":"\u00e4\ud83d\udcc1\t\/\\"},{"id":"2","name":"/"}])"),
              ElementsAre("1=\xC3\xA4\xF0\x9F\x93\x81\t/\\", "2=/"));
}

TEST_F(GoogleDriveListing, PageOfManyFoldersIsReadCompletely) {
  constexpr int kFiles = 1000;
  std::string body = R"({"nextPageToken":"t","files":[)";
  for (int i = 0; i < kFiles; ++i) {
    if (i > 0) body += ',';
    body += R"({"id":"id-)" + std::to_string(i) + R"(","name":"name )" + std::to_string(i) + "\"}";
  }
  const auto outcome = read(body + "]}");
  ASSERT_TRUE(outcome.isSuccess()) << outcome.getError();
  const auto& files = outcome.getResult().files;
  ASSERT_THAT(files, SizeIs(kFiles));
  for (int i = 0; i < kFiles; ++i) {
    const auto& file = files[static_cast<std::size_t>(i)];
    ASSERT_EQ(file.id, "id-" + std::to_string(i));
    ASSERT_EQ(file.name, "name " + std::to_string(i));
  }
}

TEST_F(GoogleDriveListing, ResponseOfAFailedAttemptIsDiscarded) {
  enqueue(response(503, R"({"files":[{"id":"stale"}],"nextPageToken":"stale"})"));
  const auto outcome = read(R"({"files":[{"id":"1","name":"one"}]})");
  ASSERT_TRUE(outcome.isSuccess()) << outcome.getError();
  EXPECT_THAT(outcome.getResult().files, SizeIs(1));
  EXPECT_THAT(outcome.getResult().nextPageToken, IsEmpty());
  EXPECT_THAT(delays(), ElementsAre(1000));
}

TEST_F(GoogleDriveListing, BadPageTokenIsAFailureOfTheService) {
  enqueue(response(400, googleError(400, "invalid")));
  const auto outcome = makeClient()->listFileResource(foldersOf("X"));
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().exceptionName, "invalid");
  EXPECT_EQ(outcome.getError().httpResponseCode, 400);
  EXPECT_THAT(strategy->calls(), ElementsAre(Pair(400, 0)));
}

}  // namespace
