#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/dropbox_fixture.h"
#include "support/expectations.h"

namespace {

namespace Model = CloudStorage::Client::Dropbox::Model;
using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Util::Outcome;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::SizeIs;
using TestSupport::dropboxError;
using TestSupport::expectMalformedResponse;
using TestSupport::response;

constexpr char kListFolder[] = "POST https://api.dropboxapi.com/2/files/list_folder";
constexpr char kContinue[] = "POST https://api.dropboxapi.com/2/files/list_folder/continue";
constexpr char kToken[] = "POST https://login.example.test/token";
constexpr char kFirstBody[] =
    R"({"path":"/photos","recursive":false,"include_media_info":false,"include_deleted":false,)"
    R"("include_has_explicit_shared_members":false})";

/// The request that the library makes.
Model::ListFolderRequest folder(const std::string& path) {
  Model::ListFolderRequest request;
  request.path = path;
  request.recursive = false;
  request.includeMediaInfo = false;
  request.includeDeleted = false;
  request.includeHasExplicitSharedMembers = false;
  return request;
}

Model::ListFolderRequest continuation(const std::string& cursor) {
  auto request = folder("/photos");
  request.cursor = cursor;
  return request;
}

std::string folderEntry(const std::string& name) {
  return R"({".tag":"folder","name":")" + name + R"(","id":"id:)" + name +
         R"(","path_lower":"/photos/)" + name + R"(","path_display":"/Photos/)" + name + R"("})";
}

std::string pageOf(const std::string& entries, const std::string& cursor, bool hasMore) {
  return R"({"entries":[)" + entries + R"(],"cursor":")" + cursor + R"(","has_more":)" +
         (hasMore ? "true" : "false") + "}";
}

std::vector<std::string> namesOf(const Model::ListFolderResult& result) {
  std::vector<std::string> names;
  for (const auto& entry : result.entries) names.emplace_back(entry.name);
  return names;
}

class DropboxListing : public ::testing::Test, protected TestSupport::DropboxFixture {
 protected:
  using TestSupport::DropboxFixture::enqueue;
  void enqueue(const std::string& page) { enqueue(response(200, page)); }
  void enqueuePage(const std::string& name, const std::string& cursor, bool hasMore) {
    enqueue(pageOf(folderEntry(name), cursor, hasMore));
  }

  Outcome<Model::ListFolderResult, Error> list() {
    return makeClient()->listFolder(folder("/photos"));
  }

  Outcome<Model::ListFolderResult, Error> read(const std::string& page) {
    enqueue(page);
    return list();
  }

  // The only entry of a page.
  Model::Metadata entryFrom(const std::string& entry) {
    auto outcome = read(pageOf(entry, "c", false));
    EXPECT_TRUE(outcome.isSuccess()) << entry << ' ' << outcome.getError();
    kept.push_back(std::move(outcome).getResult());
    const auto& entries = kept.back().entries;
    EXPECT_EQ(entries.size(), 1U) << entry;
    return entries.empty() ? Model::Metadata() : *entries.begin();
  }

  std::vector<Model::ListFolderResult> kept;
};

TEST_F(DropboxListing, RequestIsExactlyThis) {
  ASSERT_TRUE(read(pageOf("", "c1", false)).isSuccess());
  EXPECT_THAT(lines(), ElementsAre(kListFolder));
  EXPECT_THAT(bodies(), ElementsAre(kFirstBody));
  EXPECT_THAT(requests().at(0).headers, ElementsAre(Pair("accept", "application/json"),
                                                    Pair("authorization", "Bearer token-1"),
                                                    Pair("content-type", "application/json")));
}

TEST_F(DropboxListing, ReadsAllPages) {
  enqueuePage("a", "c1", true);
  enqueuePage("b", "c2", true);
  enqueuePage("c", "c3", false);
  const auto outcome = list();
  ASSERT_TRUE(outcome.isSuccess());
  EXPECT_THAT(namesOf(outcome.getResult()), ElementsAre("a", "b", "c"));
  EXPECT_EQ(outcome.getResult().cursor, "c3");
  EXPECT_FALSE(outcome.getResult().hasMore);
  EXPECT_THAT(lines(), ElementsAre(kListFolder, kContinue, kContinue));
  EXPECT_THAT(bodies(), ElementsAre(kFirstBody, R"({"cursor":"c1"})", R"({"cursor":"c2"})"));
}

TEST_F(DropboxListing, LastPageEndsTheListingWhateverItsCursor) {
  enqueuePage("a", "c1", false);
  const auto outcome = list();
  ASSERT_TRUE(outcome.isSuccess());
  EXPECT_EQ(outcome.getResult().cursor, "c1");
  EXPECT_THAT(lines(), SizeIs(1));
}

TEST_F(DropboxListing, CursorRequestsOneContinuation) {
  for (const bool hasMore : {true, false}) {
    enqueuePage("b", R"(c \"2\")", hasMore);
    const auto outcome = makeClient()->listFolder(continuation("c \"1\""));
    ASSERT_TRUE(outcome.isSuccess());
    EXPECT_THAT(namesOf(outcome.getResult()), ElementsAre("b"));
    EXPECT_EQ(outcome.getResult().cursor, "c \"2\"");
    EXPECT_EQ(outcome.getResult().hasMore, hasMore);
    EXPECT_EQ(lines().back(), kContinue);
    EXPECT_EQ(bodies().back(), R"({"cursor":"c \"1\""})");
  }
  EXPECT_THAT(lines(), SizeIs(2));
}

TEST_F(DropboxListing, EmptyCursorCountsAsAbsent) {
  enqueue(pageOf("", "c1", false));
  ASSERT_TRUE(makeClient()->listFolder(continuation("")).isSuccess());
  EXPECT_THAT(lines(), ElementsAre(kListFolder));
  EXPECT_THAT(bodies(), ElementsAre(kFirstBody));
}

TEST_F(DropboxListing, ContinuesAfterEmptyPages) {
  enqueue(pageOf("", "c1", true));
  enqueue(pageOf("", "c2", true));
  enqueuePage("a", "c3", true);
  enqueuePage("b", "c3", false);  // the last page may keep the cursor
  const auto outcome = list();
  ASSERT_TRUE(outcome.isSuccess());
  EXPECT_THAT(namesOf(outcome.getResult()), ElementsAre("a", "b"));
  EXPECT_THAT(bodies(), ElementsAre(kFirstBody, R"({"cursor":"c1"})", R"({"cursor":"c2"})",
                                    R"({"cursor":"c3"})"));
}

TEST_F(DropboxListing, PageWithoutAListIsMalformed) {
  for (const char* page : {"{}", R"({"cursor":"c1","has_more":false})",
                           R"({"entries":null,"cursor":"c1","has_more":false})",
                           R"({"entries":[],"entries":null,"cursor":"c1","has_more":false})"}) {
    SCOPED_TRACE(page);
    expectMalformedResponse(read(page));
  }
}

// The paths of an entry are alternatives.
TEST_F(DropboxListing, OnePathThatCannotBeAddressedIsNotUsed) {
  EXPECT_EQ(entryFrom(R"({"path_lower":"/a","path_display":"/A\u0000"})").path, "/a");
  EXPECT_EQ(entryFrom(R"({"path_lower":"/a\ud800","path_display":"/A"})").path, "/A");
}

TEST_F(DropboxListing, CursorThatRepeatsIsALocalFailure) {
  for (const auto& page : {pageOf("", "c1", true), pageOf(folderEntry("b"), "c1", true)}) {
    enqueuePage("a", "c1", true);
    enqueue(page);
    expectMalformedResponse(list());
    enqueue(page);
    expectMalformedResponse(makeClient()->listFolder(continuation("c1")));
  }
  EXPECT_THAT(lines(), SizeIs(6));
}

TEST_F(DropboxListing, MoreEntriesRequireACursor) {
  for (const char* page :
       {R"({"entries":[],"has_more":true})", R"({"entries":[],"cursor":"","has_more":true})",
        R"({"entries":[],"cursor":null,"has_more":true})"}) {
    const auto outcome = read(page);
    EXPECT_FALSE(outcome.isSuccess()) << page;
    EXPECT_EQ(outcome.getError().errorType, CoreErrors::LocalFailure) << page;
    EXPECT_EQ(outcome.getError().httpResponseCode, 200) << page;
  }
  EXPECT_THAT(lines(), SizeIs(3));
}

TEST_F(DropboxListing, FailureOnTheSecondPageIsTheOutcome) {
  enqueuePage("a", "c1", true);
  enqueue(response(409, dropboxError("path/not_found")));
  const auto outcome = list();
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().exceptionName, "path/not_found");
  EXPECT_EQ(outcome.getError().httpResponseCode, 409);
  EXPECT_THAT(lines(), SizeIs(2));
}

TEST_F(DropboxListing, RestartsOnceWhenACursorIsReset) {
  enqueuePage("a", "c1", true);
  enqueuePage("b", "c2", true);
  enqueue(response(409, dropboxError("reset")));
  enqueuePage("a", "d1", true);
  enqueuePage("c", "d2", false);
  const auto outcome = list();
  ASSERT_TRUE(outcome.isSuccess());
  EXPECT_THAT(namesOf(outcome.getResult()), ElementsAre("a", "c"));
  EXPECT_EQ(outcome.getResult().cursor, "d2");
  EXPECT_THAT(bodies(), ElementsAre(kFirstBody, R"({"cursor":"c1"})", R"({"cursor":"c2"})",
                                    kFirstBody, R"({"cursor":"d1"})"));
}

TEST_F(DropboxListing, DoesNotRestartTwice) {
  enqueuePage("a", "c1", true);
  enqueue(response(409, dropboxError("reset/other")));
  enqueuePage("a", "d1", true);
  enqueue(response(409, dropboxError("reset")));
  const auto outcome = list();
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().exceptionName, "reset");
  EXPECT_THAT(lines(), ElementsAre(kListFolder, kContinue, kListFolder, kContinue));
}

TEST_F(DropboxListing, RestartsOnlyInItsOwnContinuations) {
  enqueue(response(409, dropboxError("reset")));
  EXPECT_EQ(list().getError().exceptionName, "reset");
  enqueue(response(409, dropboxError("reset")));
  EXPECT_EQ(makeClient()->listFolder(continuation("c1")).getError().exceptionName, "reset");
  enqueuePage("a", "c1", true);
  enqueue(response(409, dropboxError("resetting")));
  EXPECT_EQ(list().getError().exceptionName, "resetting");
  EXPECT_THAT(lines(), ElementsAre(kListFolder, kContinue, kListFolder, kContinue));
}

TEST_F(DropboxListing, EachPageHasItsOwnRetries) {
  for (const char* page : {"a", "b"}) {
    for (int i = 0; i < 3; ++i) {
      enqueue(response(401, dropboxError("expired_access_token")));
      enqueue(R"({"access_token":"token-2"})");
    }
    enqueuePage(page, "c1", page == std::string("a"));
  }
  const auto outcome = list();
  ASSERT_TRUE(outcome.isSuccess());
  EXPECT_THAT(namesOf(outcome.getResult()), ElementsAre("a", "b"));
  EXPECT_THAT(lines(), ElementsAre(kListFolder, kToken, kListFolder, kToken, kListFolder, kToken,
                                   kListFolder, kContinue, kToken, kContinue, kToken, kContinue,
                                   kToken, kContinue));
  EXPECT_THAT(delays(), ElementsAre(1000, 2000, 3000, 1000, 2000, 3000));
}

TEST_F(DropboxListing, OnlyAnExpiredTokenIsRetried) {
  for (const int status : {302, 400, 403, 409, 422, 429, 500, 503}) {
    enqueue(response(status, "", {{"retry-after", "1"}, {"location", "https://example.test/"}}));
    EXPECT_EQ(list().getError().httpResponseCode, status);
  }
  EXPECT_THAT(lines(), SizeIs(8));
  EXPECT_THAT(delays(), IsEmpty());
}

TEST_F(DropboxListing, ReadsFolders) {
  const auto entry =
      entryFrom(R"({".tag":"folder","name":"2019","id":"id:A1","path_lower":"/photos/2019",)"
                R"("path_display":"/Photos/2019"})");
  EXPECT_EQ(entry.tag, "folder");
  EXPECT_EQ(entry.name, "2019");
  EXPECT_EQ(entry.id, "id:A1");
  EXPECT_EQ(entry.pathLower, "/photos/2019");
  EXPECT_EQ(entry.path, "/Photos/2019");
  EXPECT_FALSE(entry.file.has_value());
}

TEST_F(DropboxListing, ReadsFiles) {
  const auto entry = entryFrom(
      R"({".tag":"file","name":"a.jpg","id":"id:B2","client_modified":"2020-06-01T12:00:00Z",)"
      R"("server_modified":"2021-06-01T12:00:00Z","rev":"5e0f","size":5368709120,)"
      R"("path_lower":"/photos/a.jpg","path_display":"/photos/a.jpg","is_downloadable":true,)"
      R"("property_groups":[{"name":"other","fields":[{"id":"x"}]}],"content_hash":"e3b0"})");
  EXPECT_EQ(entry.tag, "file");
  EXPECT_EQ(entry.name, "a.jpg");
  EXPECT_EQ(entry.id, "id:B2");
  ASSERT_TRUE(entry.file.has_value());
  EXPECT_EQ(entry.file->clientModified.toString(), "2020-06-01T12:00:00.000000Z");
  EXPECT_EQ(entry.file->serverModified.toString(), "2021-06-01T12:00:00.000000Z");
  EXPECT_EQ(entry.file->size, 5368709120);
  EXPECT_EQ(entry.file->rev, "5e0f");
  EXPECT_EQ(entry.pathLower, "/photos/a.jpg");
  EXPECT_EQ(entry.path, "/photos/a.jpg");
}

TEST_F(DropboxListing, ReadsDeletedEntries) {
  const auto entry = entryFrom(
      R"({".tag":"deleted","name":"old","path_lower":"/photos/old","path_display":"/Photos/old"})");
  EXPECT_EQ(entry.tag, "deleted");
  EXPECT_EQ(entry.name, "old");
  EXPECT_EQ(entry.id, "");
  EXPECT_EQ(entry.path, "/Photos/old");
}

TEST_F(DropboxListing, TagsAreKeptAsTheyAre) {
  for (const std::string tag : {"Folder", "folder ", "folders", "fold", "symlink", ""}) {
    EXPECT_EQ(entryFrom(R"({".tag":")" + tag + R"(","path_lower":"/a"})").tag, tag);
  }
}

TEST_F(DropboxListing, DisplayPathHasPrecedenceOverTheLowerCasePath) {
  EXPECT_EQ(entryFrom(R"({"path_lower":"/a","path_display":"/A"})").path, "/A");
  EXPECT_EQ(entryFrom(R"({"path_display":"/A","path_lower":"/a"})").path, "/A");
  EXPECT_EQ(entryFrom(R"({"path_lower":"/a","path_display":""})").path, "/a");
  EXPECT_EQ(entryFrom(R"({"path_lower":"/a","path_display":null})").path, "/a");
  EXPECT_EQ(entryFrom(R"({"path_lower":"/a"})").path, "/a");
  EXPECT_EQ(entryFrom(R"({"path_display":"/A"})").pathLower, "");
}

TEST_F(DropboxListing, NameNeedNotBeTheEndOfThePath) {
  EXPECT_EQ(entryFrom(R"({"name":"Other","path_display":"/a/b"})").name, "Other");
  EXPECT_EQ(entryFrom(R"({"name":"longer than /b","path_display":"/b"})").name, "longer than /b");
  EXPECT_EQ(entryFrom(R"({"name":"","path_display":"/b"})").name, "");
  EXPECT_EQ(entryFrom(R"({"path_display":"/b"})").name, "");
}

TEST_F(DropboxListing, TextsAreDecoded) {
  const auto entry =
      entryFrom(R"({"n\u0061me":"\u00e9\ud83c\udf1e \"x\"","path_display":"\/Caf\u00e9\/\u00e9"})");
  EXPECT_EQ(entry.name, "\xC3\xA9\xF0\x9F\x8C\x9E \"x\"");
  EXPECT_EQ(entry.path, "/Caf\xC3\xA9/\xC3\xA9");
}

TEST_F(DropboxListing, MembersOfAnotherTypeCountAsAbsent) {
  const auto entry = entryFrom(
      R"({".tag":7,"name":null,"id":["x"],"client_modified":1,"server_modified":{},"size":"big",)"
      R"("rev":true,"path_lower":{"a":[1,2]},"path_display":"/a"})");
  ASSERT_TRUE(entry.file.has_value());
  for (const auto text : {entry.tag, entry.name, entry.id, entry.file->clientModified.text(),
                          entry.file->serverModified.text(), entry.file->rev, entry.pathLower}) {
    EXPECT_EQ(text, "");
  }
  EXPECT_EQ(entry.file->size, 0);
}

TEST_F(DropboxListing, UnusualPagesAreRead) {
  const std::pair<std::string, std::vector<std::string>> pages[] = {
      {R"({"entries":[],"cursor":null,"has_more":null})", {}},
      {R"({"entries":[],"cursor":1,"has_more":"true"})", {}},
      {R"({"entries":[{},)" + folderEntry("a") + "]}", {"a"}},
      {R"({"has_more":false,"later":{"entries":[{"name":"x"}]},"cursor":"c","entries":[)" +
           folderEntry("a") + "]}",
       {"a"}},
      {"\xEF\xBB\xBF" + pageOf(folderEntry("a"), "c", false), {"a"}},
      {" \n" + pageOf(folderEntry("a"), "c", false) + "\r\n ", {"a"}}};
  for (const auto& [page, names] : pages) {
    const auto outcome = read(page);
    ASSERT_TRUE(outcome.isSuccess()) << page << outcome.getError();
    EXPECT_EQ(namesOf(outcome.getResult()), names) << page;
  }
}

TEST_F(DropboxListing, TextsLastAsLongAsTheResult) {
  constexpr int kPages = 5;
  constexpr int kEntries = 1000;
  std::vector<std::string> names;
  for (int page = 0; page < kPages; ++page) {
    std::string entries;
    for (int i = 0; i < kEntries; ++i) {
      names.push_back("folder with a longer name " + std::to_string(page * kEntries + i));
      entries += (i == 0 ? "" : ",") + folderEntry(names.back());
    }
    enqueue(pageOf(entries, "c" + std::to_string(page), page + 1 < kPages));
  }
  Model::ListFolderResult result;
  {
    auto outcome = list();
    ASSERT_TRUE(outcome.isSuccess());
    result = std::move(outcome).getResult();
  }
  EXPECT_EQ(namesOf(result), names);
  for (const auto& entry : result.entries) {
    const std::string name(entry.name);
    EXPECT_EQ(entry.id, "id:" + name);
    EXPECT_EQ(entry.path, "/Photos/" + name);
    EXPECT_EQ(entry.pathLower, "/photos/" + name);
  }
}

}  // namespace
