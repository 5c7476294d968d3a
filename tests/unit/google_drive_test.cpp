#include <gmock/gmock.h>

#include <string>

#include "drive_operations.h"
#include "libvemlo.h"
#include "verbose_level.h"

// What sets the Google Drive operations apart; drive_operations_test.cpp has what all drives share.
namespace {

using CloudStorage::Client::GoogleDrive::Model::GetFileResourceRequest;
using CloudStorage::Client::GoogleDrive::Model::ListFileResourceRequest;
using CloudStorage::Client::GoogleDrive::Model::UploadFileRequest;
using testing::_;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using TestSupport::errorLine;
using UnitTests::failure;
using UnitTests::Folder;
using UnitTests::GoogleDrive;
using UnitTests::IsAbsent;
using UnitTests::IsPresentAs;
using UnitTests::itemOf;
using UnitTests::numberedFolders;
using UnitTests::pageOf;
using UnitTests::VerboseLevel;
using UnitTests::verboseLine;

class GoogleDriveGetRootDirectory
    : public UnitTests::DriveOperationTest<UnitTests::GetRootDirectory<GoogleDrive>> {};

TEST_F(GoogleDriveGetRootDirectory, AsksForTheAliasRootAndHandsOutTheRealId) {
  EXPECT_CALL(client(), getFileResource(
                            AllOf(Field(&GetFileResourceRequest::fileId, IsPresentAs("root")),
                                  Field(&GetFileResourceRequest::contentType, "application/json"))))
      .WillOnce(itemOf<GoogleDrive>({"0AB", "My Drive"}));

  ASSERT_EQ(call(), 0);
  EXPECT_EQ(operation_.outs.folder(), (Folder{"0AB", "My Drive"}));
}

class GoogleDriveListDirectory : public UnitTests::DriveListingTest<GoogleDrive> {};

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

TEST_F(GoogleDriveListDirectory, AsksForUntrashedFoldersOfTheParentFiveHundredAPage) {
  willAnswer({pageOf<GoogleDrive>({{"1", "one"}, {"2", "two"}})});

  ASSERT_EQ(list("0AB"), 0);
  EXPECT_THAT(sent_, ElementsAre(requestFor("0AB", IsAbsent())));
  EXPECT_THAT(folders(), ElementsAre(Folder{"1", "one"}, Folder{"2", "two"}));
}

TEST_F(GoogleDriveListDirectory, FollowsThePageTokensAndHandsOutAllPagesInOrder) {
  willAnswer({pageOf<GoogleDrive>(numberedFolders(0, 500), "second"),
              pageOf<GoogleDrive>(numberedFolders(500, 500), "~!third=&"),
              pageOf<GoogleDrive>(numberedFolders(1000, 1))});

  ASSERT_EQ(list("p"), 0);
  EXPECT_THAT(sent_,
              ElementsAre(requestFor("p", IsAbsent()), requestFor("p", IsPresentAs("second")),
                          requestFor("p", IsPresentAs("~!third=&"))));
  EXPECT_EQ(folders(), numberedFolders(0, 1001));
}

TEST_F(GoogleDriveListDirectory, PutsTheParentsIdIntoTheQueryAsItIs) {
  for (const char* id : {"it's", "", "root", "\\", "\xC3\xA4 \""}) {
    SCOPED_TRACE(id);
    sent_.clear();
    operation_.outs.reset();
    willAnswer({pageOf<GoogleDrive>({})});
    EXPECT_EQ(list(id), 0);
    EXPECT_THAT(sent_, ElementsAre(requestFor(id, IsAbsent())));
  }
}

TEST_F(GoogleDriveListDirectory, UsesTheRealIdOfTheRootFolder) {
  EXPECT_CALL(client(), getFileResource(_)).WillOnce(itemOf<GoogleDrive>({"0AB", "My Drive"}));
  willAnswer({pageOf<GoogleDrive>({})});

  UnitTests::FolderOut root;
  ASSERT_EQ(google_drive_get_root_directory(handle_.get(), &root.record), 0);
  EXPECT_EQ(operation_.call(handle_.get(), *root.record), 0);
  EXPECT_THAT(sent_, ElementsAre(requestFor("0AB", IsAbsent())));
}

TEST_F(GoogleDriveListDirectory, TellsItsQueryAndTheResultAtLevelNine) {
  const VerboseLevel level(9);
  willAnswer({pageOf<GoogleDrive>({{"1", "one"}}, "next"), pageOf<GoogleDrive>({})});

  ASSERT_EQ(list("0AB"), 0);
  EXPECT_THAT(log_.records(),
              ElementsAre(verboseLine("Start to fetch children. parentId = 0AB, filter = " +
                                      queryFor("0AB")),
                          verboseLine("Got 1 directories. ")));
}

TEST_F(GoogleDriveListDirectory, TellsItsQueryAtLevelNineBeforeItFails) {
  const VerboseLevel level(9);
  willAnswer({failure});

  EXPECT_EQ(list("0AB"), 1);
  EXPECT_THAT(log_.records(),
              ElementsAre(verboseLine("Start to fetch children. parentId = 0AB, filter = " +
                                      queryFor("0AB")),
                          errorLine("Failed to list directories. It went wrong.")));
}

class GoogleDriveCreateDirectory : public UnitTests::DriveCreationTest<GoogleDrive> {
 protected:
};

// The upload type is sent, but it is the request itself that says which: none.
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
  EXPECT_CALL(client(), uploadFile(creationOf("new", "0AB")))
      .WillOnce(itemOf<GoogleDrive>({"1C", "new"}));

  ASSERT_EQ(create("0AB", "new"), 0);
  EXPECT_EQ(operation_.outs.folder(), (Folder{"1C", "new"}));
}

TEST_F(GoogleDriveCreateDirectory, MakesASecondFolderOfTheSameName) {
  EXPECT_CALL(client(), uploadFile(creationOf("same", "p")))
      .WillOnce(itemOf<GoogleDrive>({"first", "same"}))
      .WillOnce(itemOf<GoogleDrive>({"second", "same"}));

  ASSERT_EQ(create("p", "same"), 0);
  EXPECT_EQ(operation_.outs.folder(), (Folder{"first", "same"}));
  operation_.outs.reset();
  ASSERT_EQ(create("p", "same"), 0);
  EXPECT_EQ(operation_.outs.folder(), (Folder{"second", "same"}));
}

}  // namespace
