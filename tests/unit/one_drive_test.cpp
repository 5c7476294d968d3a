#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "one_drive_session_fixture.h"

// What is specific to the OneDrive operations.
namespace {

using testing::_;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::Return;
using TestSupport::errorLine;
using TestSupport::VerboseLevel;
using TestSupport::verboseLine;
using TestSupport::OneDriveModel::CreateFolderRequest;
using TestSupport::OneDriveModel::DriveMetadata;
using TestSupport::OneDriveModel::GetDriveItemRequest;
using TestSupport::OneDriveModel::GetDriveMetadataRequest;
using TestSupport::OneDriveModel::ListChildrenRequest;
using TestSupport::OneDriveModel::RemoteItem;
using UnitTests::failure;
using UnitTests::Folder;
using UnitTests::IsAbsent;
using UnitTests::IsPresentAs;
using UnitTests::itemOf;
using UnitTests::numberedFolders;
using UnitTests::pageOf;

class OneDriveTest : public testing::Test, protected UnitTests::OneDriveFixture {};

constexpr char kFolders[] = "folder ne null";
constexpr char kFoldersAndRemoteItems[] = "folder ne null or remoteItem ne null";

using OneDriveGetRootDirectory = OneDriveTest;

TEST_F(OneDriveGetRootDirectory, RequestsTheAliasRootOfTheDefaultDrive) {
  willReturnRoot(itemOf({"A!101", "root"}));
  EXPECT_EQ(getRoot(), 0);
  EXPECT_THAT(roots,
              ElementsAre(AllOf(Field(&GetDriveItemRequest::itemId, IsPresentAs("root")),
                                Field(&GetDriveItemRequest::driveId, IsAbsent()),
                                Field(&GetDriveItemRequest::contentType, "application/json"))));
}

TEST_F(OneDriveGetRootDirectory, NamesItSlashAndReturnsTheRealId) {
  for (const bool flagged : {true, false}) {
    for (const char* name : {"root", "", "Documents", "/"}) {
      SCOPED_TRACE(testing::Message() << name << (flagged ? ", flagged" : ""));
      folder.reset();
      editItem = [flagged](Item& item) { item.root = flagged; };
      willReturnRoot(itemOf({"A!101", name}));
      ASSERT_EQ(getRoot(), 0);
      EXPECT_EQ(folder.folder(), (Folder{"A!101", "/"}));
    }
  }
}

TEST_F(OneDriveGetRootDirectory, LogsTheWholeItemAtLevelNine) {
  const VerboseLevel level(9);
  const std::string described = UnitTests::OneDriveTypes::folder("A!101", "root").toString();
  willReturnRoot(itemOf({"A!101", "root"}));

  ASSERT_EQ(getRoot(), 0);
  EXPECT_THAT(log.records(), ElementsAre(verboseLine(described)));
}

class OneDriveListDirectory : public OneDriveTest {
 protected:
  void driveHasType(const std::string& type) {
    DriveMetadata drive;
    drive.id = "a drive";
    drive.name = "business";  // does not determine the type
    drive.driveType = type;
    EXPECT_CALL(client(), getDriveMetadata(AllOf(
                              Field(&GetDriveMetadataRequest::driveId, IsAbsent()),
                              Field(&GetDriveMetadataRequest::contentType, "application/json"))))
        .WillOnce(Return(drive));
  }
};

template <typename Token>
auto requestFor(const std::string& id, const std::string& filter, Token token) {
  return AllOf(Field("itemId", &ListChildrenRequest::itemId, IsPresentAs(id)),
               Field("pageSize", &ListChildrenRequest::pageSize, IsPresentAs(500)),
               Field("pageToken", &ListChildrenRequest::pageToken, token),
               Field("filter", &ListChildrenRequest::filter, IsPresentAs(filter)),
               Field("driveId", &ListChildrenRequest::driveId, IsAbsent()),
               Field("contentType", &ListChildrenRequest::contentType, "application/json"));
}

TEST_F(OneDriveListDirectory, OfABusinessDriveRequestsRealFoldersOnly) {
  driveHasType("business");
  willReturnPages({pageOf({{"1", "one"}, {"2", "two"}})});

  ASSERT_EQ(list("A!1"), 0);
  EXPECT_THAT(pages.requests, ElementsAre(requestFor("A!1", kFolders, IsAbsent())));
  EXPECT_THAT(folders.folders(), ElementsAre(Folder{"1", "one"}, Folder{"2", "two"}));
}

TEST_F(OneDriveListDirectory, OfAnyOtherDriveRequestsSharedFoldersToo) {
  for (const char* type :
       {"personal", "documentLibrary", "", "Business", "BUSINESS", "business ", "businesses"}) {
    SCOPED_TRACE(type);
    folders.reset();
    driveHasType(type);
    willReturnPages({pageOf({})});
    EXPECT_EQ(list("A!1"), 0);
    EXPECT_THAT(pages.requests, ElementsAre(requestFor("A!1", kFoldersAndRemoteItems, IsAbsent())));
  }
}

TEST_F(OneDriveListDirectory, RequestsTheDrivesTypeEachTime) {
  driveHasType("business");
  willReturnPages({pageOf({})});
  EXPECT_EQ(list("A!1"), 0);
  folders.reset();

  driveHasType("personal");
  willReturnPages({pageOf({})});
  EXPECT_EQ(list("A!1"), 0);
  EXPECT_THAT(pages.requests, ElementsAre(requestFor("A!1", kFoldersAndRemoteItems, IsAbsent())));
}

TEST_F(OneDriveListDirectory, SendsThePageTokensAndReturnsAllPagesInOrder) {
  driveHasType("business");  // once for all pages
  willReturnPages({pageOf(numberedFolders(0, 500), "second"),
                   pageOf(numberedFolders(500, 500), "third&=%"),
                   pageOf(numberedFolders(1000, 1))});

  ASSERT_EQ(list("p"), 0);
  EXPECT_THAT(pages.requests, ElementsAre(requestFor("p", kFolders, IsAbsent()),
                                          requestFor("p", kFolders, IsPresentAs("second")),
                                          requestFor("p", kFolders, IsPresentAs("third&=%"))));
  EXPECT_EQ(folders.folders(), numberedFolders(0, 1001));
}

TEST_F(OneDriveListDirectory, FailureOfTheDrivesMetadataEndsItBeforeAnyPage) {
  EXPECT_CALL(client(), getDriveMetadata(_)).WillOnce(failure);

  EXPECT_EQ(list("A!1"), 1);
  EXPECT_TRUE(folders.isCleared());
  EXPECT_THAT(log.records(), ElementsAre(errorLine("Failed to get Drive Metadata. error: "
                                                   "exceptionName It went wrong.")));
}

TEST_F(OneDriveListDirectory, LogsOnlyTheErrorIfTheDrivesMetadataFailsAtLevelNine) {
  const VerboseLevel level(9);
  EXPECT_CALL(client(), getDriveMetadata(_)).WillOnce(Return(UnitTests::errorOfType(0)));

  EXPECT_EQ(list("A!1"), 1);
  EXPECT_THAT(log.records(), ElementsAre(errorLine("Failed to get Drive Metadata. error: Name ")));
}

TEST_F(OneDriveListDirectory, NamesAnItemThatIsTheRootSlash) {
  driveHasType("personal");
  editPage = [](Page& page) { page.items[1].root = true; };
  willReturnPages({pageOf({{"1", "one"}, {"2", "root"}, {"3", "root"}})});

  ASSERT_EQ(list("A!1"), 0);
  EXPECT_THAT(folders.folders(),
              ElementsAre(Folder{"1", "one"}, Folder{"2", "/"}, Folder{"3", "root"}));
}

TEST_F(OneDriveListDirectory, ReturnsAllListedItemsUnfilteredAndUnresolved) {
  driveHasType("personal");
  editPage = [](Page& page) {
    RemoteItem theirs;
    theirs.id = "id in the owner's drive";
    theirs.parentReference.driveId = "the owner's drive";
    page.items[0].remoteItem = std::make_shared<RemoteItem>(theirs);
    page.items[2].deleted = true;
  };
  willReturnPages({pageOf({{"shared", "theirs"}, {"file", "a.txt"}, {"gone", "deleted"}})});

  ASSERT_EQ(list("A!1"), 0);
  EXPECT_THAT(folders.folders(), ElementsAre(Folder{"shared", "theirs"}, Folder{"file", "a.txt"},
                                             Folder{"gone", "deleted"}));
}

TEST_F(OneDriveListDirectory, LogsTheParentWithoutTheFilterAndTheResultAtLevelNine) {
  const VerboseLevel level(9);
  driveHasType("personal");
  willReturnPages({pageOf({{"1", "one"}}, "next"), pageOf({})});

  ASSERT_EQ(list("A!1"), 0);
  EXPECT_THAT(log.records(), ElementsAre(verboseLine("Start to fetch children. parentId = A!1"),
                                         verboseLine("Got 1 directories. ")));
}

using OneDriveCreateDirectory = OneDriveTest;

auto creationOf(const std::string& name, const std::string& parentId) {
  return AllOf(Field("parentItemId", &CreateFolderRequest::parentItemId, IsPresentAs(parentId)),
               Field("driveId", &CreateFolderRequest::driveId, IsAbsent()),
               Field("name", &CreateFolderRequest::name, IsPresentAs(name)),
               Field("contentType", &CreateFolderRequest::contentType, "application/json"));
}

TEST_F(OneDriveCreateDirectory, SendsParentAndNameAndRequestsNothingElse) {
  willCreate(itemOf({"A!2", "new"}));

  ASSERT_EQ(create("A!1", "new"), 0);
  EXPECT_THAT(creations, ElementsAre(creationOf("new", "A!1")));
  EXPECT_EQ(folder.folder(), (Folder{"A!2", "new"}));
}

TEST_F(OneDriveCreateDirectory, NamesAnItemThatIsTheRootSlash) {
  editItem = [](Item& item) { item.root = true; };
  willCreate(itemOf({"A!101", "root"}));
  ASSERT_EQ(create(), 0);
  EXPECT_EQ(folder.folder(), (Folder{"A!101", "/"}));
}

}  // namespace
