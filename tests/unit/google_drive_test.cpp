#include <gmock/gmock.h>

#include <string>

#include "google_drive_session_fixture.h"

// What is specific to the Google Drive operations.
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using TestSupport::errorLine;
using TestSupport::VerboseLevel;
using TestSupport::verboseLine;
using TestSupport::GoogleDriveModel::GetFileResourceRequest;
using TestSupport::GoogleDriveModel::ListFileResourceRequest;
using TestSupport::GoogleDriveModel::UploadFileRequest;
using UnitTests::failure;
using UnitTests::Folder;
using UnitTests::IsAbsent;
using UnitTests::IsPresentAs;
using UnitTests::itemOf;
using UnitTests::numberedFolders;
using UnitTests::pageOf;

class GoogleDriveTest : public testing::Test, protected UnitTests::GoogleDriveFixture {};

using GoogleDriveGetRootDirectory = GoogleDriveTest;

TEST_F(GoogleDriveGetRootDirectory, RequestsTheAliasRootAndReturnsTheRealId) {
  willReturnRoot(itemOf({"0AB", "My Drive"}));

  ASSERT_EQ(getRoot(), 0);
  EXPECT_THAT(roots,
              ElementsAre(AllOf(Field(&GetFileResourceRequest::fileId, IsPresentAs("root")),
                                Field(&GetFileResourceRequest::contentType, "application/json"))));
  EXPECT_EQ(folder.folder(), (Folder{"0AB", "My Drive"}));
}

using GoogleDriveListDirectory = GoogleDriveTest;

std::string queryFor(const std::string& id) {
  return "'" + id +
         "' in parents and trashed = false and mimeType = 'application/vnd.google-apps.folder'";
}

template <typename Token>
auto requestFor(const std::string& id, Token token) {
  return AllOf(Field("orderBy", &ListFileResourceRequest::orderBy, IsPresentAs("folder,name")),
               Field("pageSize", &ListFileResourceRequest::pageSize, IsPresentAs(500)),
               Field("pageToken", &ListFileResourceRequest::pageToken, token),
               Field("query", &ListFileResourceRequest::query, IsPresentAs(queryFor(id))),
               Field("contentType", &ListFileResourceRequest::contentType, "application/json"));
}

TEST_F(GoogleDriveListDirectory, RequestsUntrashedFoldersOfTheParentFiveHundredAPage) {
  willReturnPages({pageOf({{"1", "one"}, {"2", "two"}})});

  ASSERT_EQ(list("0AB"), 0);
  EXPECT_THAT(pages.requests, ElementsAre(requestFor("0AB", IsAbsent())));
  EXPECT_THAT(folders.folders(), ElementsAre(Folder{"1", "one"}, Folder{"2", "two"}));
}

TEST_F(GoogleDriveListDirectory, SendsThePageTokensAndReturnsAllPagesInOrder) {
  willReturnPages({pageOf(numberedFolders(0, 500), "second"),
                   pageOf(numberedFolders(500, 500), "~!third=&"),
                   pageOf(numberedFolders(1000, 1))});

  ASSERT_EQ(list("p"), 0);
  EXPECT_THAT(pages.requests,
              ElementsAre(requestFor("p", IsAbsent()), requestFor("p", IsPresentAs("second")),
                          requestFor("p", IsPresentAs("~!third=&"))));
  EXPECT_EQ(folders.folders(), numberedFolders(0, 1001));
}

TEST_F(GoogleDriveListDirectory, PutsTheParentsIdIntoTheQueryUnchanged) {
  for (const char* id : {"it's", "", "root", "\\", "\xC3\xA4 \""}) {
    SCOPED_TRACE(id);
    folders.reset();
    willReturnPages({pageOf({})});
    EXPECT_EQ(list(id), 0);
    EXPECT_THAT(pages.requests, ElementsAre(requestFor(id, IsAbsent())));
  }
}

TEST_F(GoogleDriveListDirectory, UsesTheRealIdOfTheRootFolder) {
  willReturnRoot(itemOf({"0AB", "My Drive"}));
  willReturnPages({pageOf({})});

  ASSERT_EQ(getRoot(), 0);
  EXPECT_EQ(google_drive_list_directory(handle.get(), folder.record, &folders.list, &folders.count),
            0);
  EXPECT_THAT(pages.requests, ElementsAre(requestFor("0AB", IsAbsent())));
}

TEST_F(GoogleDriveListDirectory, LogsItsQueryAndTheResultAtLevelNine) {
  const VerboseLevel level(9);
  willReturnPages({pageOf({{"1", "one"}}, "next"), pageOf({})});

  ASSERT_EQ(list("0AB"), 0);
  EXPECT_THAT(log.records(),
              ElementsAre(verboseLine("Start to fetch children. parentId = 0AB, filter = " +
                                      queryFor("0AB")),
                          verboseLine("Got 1 directories. ")));
}

TEST_F(GoogleDriveListDirectory, LogsItsQueryAtLevelNineBeforeItFails) {
  const VerboseLevel level(9);
  willReturnPages({failure()});

  EXPECT_EQ(list("0AB"), 1);
  EXPECT_THAT(log.records(),
              ElementsAre(verboseLine("Start to fetch children. parentId = 0AB, filter = " +
                                      queryFor("0AB")),
                          errorLine("Failed to list directories. It went wrong.")));
}

using GoogleDriveCreateDirectory = GoogleDriveTest;

// The upload type is present with the default of the request.
auto creationOf(const std::string& name, const std::string& parentId) {
  return AllOf(Field("uploadType", &UploadFileRequest::uploadType,
                     IsPresentAs(UploadFileRequest().uploadType.value())),
               Field("createdTime", &UploadFileRequest::createdTime, IsAbsent()),
               Field("modifiedTime", &UploadFileRequest::modifiedTime, IsAbsent()),
               Field("mimeType", &UploadFileRequest::mimeType,
                     IsPresentAs("application/vnd.google-apps.folder")),
               Field("name", &UploadFileRequest::name, IsPresentAs(name)),
               Field("parents", &UploadFileRequest::parents, IsPresentAs(parentId)),
               Field("contentType", &UploadFileRequest::contentType, "application/json"));
}

TEST_F(GoogleDriveCreateDirectory, SendsMetadataOfAFolderAndNoContent) {
  willCreate(itemOf({"1C", "new"}));

  ASSERT_EQ(create("0AB", "new"), 0);
  EXPECT_THAT(creations, ElementsAre(creationOf("new", "0AB")));
  EXPECT_EQ(folder.folder(), (Folder{"1C", "new"}));
}

TEST_F(GoogleDriveCreateDirectory, CreatesASecondFolderOfTheSameName) {
  for (const char* id : {"first", "second"}) {
    folder.reset();
    willCreate(itemOf({id, "same"}));
    ASSERT_EQ(create("p", "same"), 0);
    EXPECT_EQ(folder.folder(), (Folder{id, "same"}));
  }
  EXPECT_THAT(creations, ElementsAre(creationOf("same", "p"), creationOf("same", "p")));
}

}  // namespace
