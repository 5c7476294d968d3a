#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "drive_operations.h"
#include "libvemlo.h"
#include "verbose_level.h"

// What sets the OneDrive operations apart; drive_operations_test.cpp has what all drives share.
namespace {

using CloudStorage::Client::OneDrive::Model::CreateFolderRequest;
using CloudStorage::Client::OneDrive::Model::DriveMetadata;
using CloudStorage::Client::OneDrive::Model::GetDriveItemRequest;
using CloudStorage::Client::OneDrive::Model::GetDriveMetadataRequest;
using CloudStorage::Client::OneDrive::Model::ListChildrenRequest;
using CloudStorage::Client::OneDrive::Model::RemoteItem;
using testing::_;
using testing::AllOf;
using testing::ElementsAre;
using testing::Return;
using TestSupport::errorLine;
using UnitTests::failure;
using UnitTests::Folder;
using UnitTests::FolderPage;
using UnitTests::IsAbsent;
using UnitTests::IsPresentAs;
using UnitTests::itemOf;
using UnitTests::numberedFolders;
using UnitTests::OneDrive;
using UnitTests::pageOf;
using UnitTests::VerboseLevel;
using UnitTests::verboseLine;

constexpr char kFolders[] = "folder ne null";
constexpr char kFoldersAndRemoteItems[] = "folder ne null or remoteItem ne null";

class OneDriveGetRootDirectory
    : public UnitTests::DriveOperationTest<UnitTests::GetRootDirectory<OneDrive>> {};

TEST_F(OneDriveGetRootDirectory, AsksForTheAliasRootOfTheDefaultDrive) {
  EXPECT_CALL(client(), getDriveItem(AllOf(
                            testing::Field(&GetDriveItemRequest::itemId, IsPresentAs("root")),
                            testing::Field(&GetDriveItemRequest::driveId, IsAbsent()),
                            testing::Field(&GetDriveItemRequest::contentType, "application/json"))))
      .WillOnce(itemOf<OneDrive>({"A!101", "root"}));
  EXPECT_EQ(call(), 0);
}

TEST_F(OneDriveGetRootDirectory, NamesItSlashAndHandsOutTheRealId) {
  for (const bool flagged : {true, false}) {
    for (const char* name : {"root", "", "Documents", "/"}) {
      SCOPED_TRACE(testing::Message() << name << (flagged ? ", flagged" : ""));
      operation_.outs.reset();
      willAnswer([flagged, name] {
        auto item = itemOf<OneDrive>({"A!101", name})().getResult();
        item.root = flagged;
        return item;
      });
      ASSERT_EQ(call(), 0);
      EXPECT_EQ(operation_.outs.folder(), (Folder{"A!101", "/"}));
    }
  }
}

TEST_F(OneDriveGetRootDirectory, TellsAllOfTheItemAtLevelNine) {
  const VerboseLevel level(9);
  const std::string described = OneDrive::folder("A!101", "root").toString();
  willAnswer(itemOf<OneDrive>({"A!101", "root"}));

  ASSERT_EQ(call(), 0);
  EXPECT_THAT(log_.records(), ElementsAre(verboseLine(described)));
}

class OneDriveListDirectory : public UnitTests::DriveListingTest<OneDrive> {
 protected:
  void driveHasType(const std::string& type) {
    DriveMetadata drive;
    drive.id = "a drive";
    drive.name = "business";  // anybody may call theirs so
    drive.driveType = type;
    EXPECT_CALL(client(),
                getDriveMetadata(AllOf(
                    testing::Field(&GetDriveMetadataRequest::driveId, IsAbsent()),
                    testing::Field(&GetDriveMetadataRequest::contentType, "application/json"))))
        .WillOnce(Return(drive));
  }
};

template <typename Token>
auto requestFor(const std::string& id, const std::string& filter, Token token) {
  return AllOf(
      testing::Field("itemId", &ListChildrenRequest::itemId, IsPresentAs(id)),
      testing::Field("pageSize", &ListChildrenRequest::pageSize, IsPresentAs(500)),
      testing::Field("pageToken", &ListChildrenRequest::pageToken, token),
      testing::Field("filter", &ListChildrenRequest::filter, IsPresentAs(filter)),
      testing::Field("driveId", &ListChildrenRequest::driveId, IsAbsent()),
      testing::Field("contentType", &ListChildrenRequest::contentType, "application/json"));
}

TEST_F(OneDriveListDirectory, OfABusinessDriveAsksForRealFoldersOnly) {
  driveHasType("business");
  willAnswer({pageOf<OneDrive>({{"1", "one"}, {"2", "two"}})});

  ASSERT_EQ(list("A!1"), 0);
  EXPECT_THAT(sent_, ElementsAre(requestFor("A!1", kFolders, IsAbsent())));
  EXPECT_THAT(folders(), ElementsAre(Folder{"1", "one"}, Folder{"2", "two"}));
}

TEST_F(OneDriveListDirectory, OfAnyOtherDriveAsksForSharedFoldersToo) {
  for (const char* type :
       {"personal", "documentLibrary", "", "Business", "BUSINESS", "business ", "businesses"}) {
    SCOPED_TRACE(type);
    sent_.clear();
    operation_.outs.reset();
    driveHasType(type);
    willAnswer({pageOf<OneDrive>({})});
    EXPECT_EQ(list("A!1"), 0);
    EXPECT_THAT(sent_, ElementsAre(requestFor("A!1", kFoldersAndRemoteItems, IsAbsent())));
  }
}

TEST_F(OneDriveListDirectory, AsksForTheDrivesTypeAnewEachTime) {
  driveHasType("business");
  willAnswer({pageOf<OneDrive>({})});
  EXPECT_EQ(list("A!1"), 0);
  operation_.outs.reset();
  sent_.clear();

  driveHasType("personal");
  willAnswer({pageOf<OneDrive>({})});
  EXPECT_EQ(list("A!1"), 0);
  EXPECT_THAT(sent_, ElementsAre(requestFor("A!1", kFoldersAndRemoteItems, IsAbsent())));
}

TEST_F(OneDriveListDirectory, FollowsThePageTokensAndHandsOutAllPagesInOrder) {
  driveHasType("business");  // once for all pages
  willAnswer({pageOf<OneDrive>(numberedFolders(0, 500), "second"),
              pageOf<OneDrive>(numberedFolders(500, 500), "third&=%"),
              pageOf<OneDrive>(numberedFolders(1000, 1))});

  ASSERT_EQ(list("p"), 0);
  EXPECT_THAT(sent_, ElementsAre(requestFor("p", kFolders, IsAbsent()),
                                 requestFor("p", kFolders, IsPresentAs("second")),
                                 requestFor("p", kFolders, IsPresentAs("third&=%"))));
  EXPECT_EQ(folders(), numberedFolders(0, 1001));
}

TEST_F(OneDriveListDirectory, FailureOfTheDrivesMetadataEndsItBeforeAnyPage) {
  EXPECT_CALL(client(), getDriveMetadata(_)).WillOnce([this] {
    EXPECT_TRUE(operation_.outs.areCleared());
    return failure();
  });

  EXPECT_EQ(list("A!1"), 1);
  EXPECT_TRUE(operation_.outs.areCleared());
  EXPECT_THAT(log_.records(), ElementsAre(errorLine("Failed to get Drive Metadata. error: "
                                                    "exceptionName It went wrong.")));
}

TEST_F(OneDriveListDirectory, TellsNothingOfAFailureOfTheDrivesMetadataButTheError) {
  const VerboseLevel level(9);
  EXPECT_CALL(client(), getDriveMetadata(_)).WillOnce(Return(UnitTests::errorOfType(0)));

  EXPECT_EQ(list("A!1"), 1);
  EXPECT_THAT(log_.records(), ElementsAre(errorLine("Failed to get Drive Metadata. error: Name ")));
}

TEST_F(OneDriveListDirectory, KeepsTheClientWhileTheSessionIsClosedDuringTheFirstRequest) {
  const std::weak_ptr<void> alive = handle_->one_drive_client;
  EXPECT_CALL(client(), getDriveMetadata(_)).WillOnce([&] {
    handle_.reset();
    EXPECT_FALSE(alive.expired());
    return DriveMetadata{};
  });
  willAnswer({pageOf<OneDrive>({{"1", "one"}})});

  ASSERT_EQ(list("A!1"), 0);
  EXPECT_THAT(folders(), ElementsAre(Folder{"1", "one"}));
  EXPECT_TRUE(alive.expired());
}

TEST_F(OneDriveListDirectory, NamesAnItemThatIsTheRootSlash) {
  driveHasType("personal");
  willAnswer({[] {
    FolderPage<OneDrive> page({{"1", "one"}, {"2", "root"}, {"3", "root"}});
    page.items()[1].root = true;
    return page.followedBy("");
  }});

  ASSERT_EQ(list("A!1"), 0);
  EXPECT_THAT(folders(), ElementsAre(Folder{"1", "one"}, Folder{"2", "/"}, Folder{"3", "root"}));
}

TEST_F(OneDriveListDirectory, HandsOutWhatTheServiceListsWithoutFilteringOrResolvingIt) {
  driveHasType("personal");
  willAnswer({[] {
    FolderPage<OneDrive> page({{"shared", "theirs"}, {"file", "a.txt"}, {"gone", "deleted"}});
    RemoteItem theirs;
    theirs.id = "id in the owner's drive";
    theirs.parentReference.driveId = "the owner's drive";
    page.items()[0].remoteItem = std::make_shared<RemoteItem>(theirs);
    page.items()[2].deleted = true;
    return page.followedBy("");
  }});

  ASSERT_EQ(list("A!1"), 0);
  EXPECT_THAT(folders(), ElementsAre(Folder{"shared", "theirs"}, Folder{"file", "a.txt"},
                                     Folder{"gone", "deleted"}));
}

TEST_F(OneDriveListDirectory, TellsTheParentWithoutTheFilterAndTheResultAtLevelNine) {
  const VerboseLevel level(9);
  driveHasType("personal");
  willAnswer({pageOf<OneDrive>({{"1", "one"}}, "next"), pageOf<OneDrive>({})});

  ASSERT_EQ(list("A!1"), 0);
  EXPECT_THAT(log_.records(), ElementsAre(verboseLine("Start to fetch children. parentId = A!1"),
                                          verboseLine("Got 1 directories. ")));
}

class OneDriveCreateDirectory : public UnitTests::DriveCreationTest<OneDrive> {
 protected:
};

auto creationOf(const std::string& name, const std::string& parentId) {
  return AllOf(
      testing::Field("parentItemId", &CreateFolderRequest::parentItemId, IsPresentAs(parentId)),
      testing::Field("driveId", &CreateFolderRequest::driveId, IsAbsent()),
      testing::Field("name", &CreateFolderRequest::name, IsPresentAs(name)),
      testing::Field("contentType", &CreateFolderRequest::contentType, "application/json"));
}

TEST_F(OneDriveCreateDirectory, SendsParentAndNameAndAsksNothingOfTheDrive) {
  EXPECT_CALL(client(), createFolder(creationOf("new", "A!1")))
      .WillOnce(itemOf<OneDrive>({"A!2", "new"}));

  ASSERT_EQ(create("A!1", "new"), 0);
  EXPECT_EQ(operation_.outs.folder(), (Folder{"A!2", "new"}));
}

TEST_F(OneDriveCreateDirectory, NamesAnItemThatIsTheRootSlash) {
  willAnswer([] {
    auto item = itemOf<OneDrive>({"A!101", "root"})().getResult();
    item.root = true;
    return item;
  });
  ASSERT_EQ(call(), 0);
  EXPECT_EQ(operation_.outs.folder(), (Folder{"A!101", "/"}));
}

}  // namespace
