#include <gmock/gmock.h>

#include <string>

#include "drive_operations.h"
#include "libvemlo.h"
#include "verbose_level.h"

// What sets the Amazon Drive operations apart; drive_operations_test.cpp has what all drives share.
namespace {

using CloudStorage::Client::AmazonDrive::Model::FileRequest;
using CloudStorage::Client::AmazonDrive::Model::ListFileResourceRequest;
using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::Property;
using TestSupport::errorLine;
using UnitTests::AmazonDrive;
using UnitTests::failure;
using UnitTests::Folder;
using UnitTests::IsAbsent;
using UnitTests::IsPresentAs;
using UnitTests::itemOf;
using UnitTests::numberedFolders;
using UnitTests::pageOf;
using UnitTests::VerboseLevel;
using UnitTests::verboseLine;

constexpr char kDuplicateRoot[] = "Find duplicate root node metadata. ";

class AmazonDriveGetRootDirectory
    : public UnitTests::DriveOperationTest<UnitTests::GetRootDirectory<AmazonDrive>> {
 protected:
  AmazonDriveGetRootDirectory() { AmazonDrive::prepare(client()); }
};

auto rootRequest() {
  using Limit = CloudStorage::Util::Field<int>;
  return AllOf(Field("endpoint", &ListFileResourceRequest::endpoint,
                     IsPresentAs(AmazonDrive::kMetadataEndpoint)),
               Field("filters", &ListFileResourceRequest::filters,
                     IsPresentAs("kind:FOLDER AND isRoot:true")),
               Field("startToken", &ListFileResourceRequest::startToken, IsAbsent()),
               Field("sort", &ListFileResourceRequest::sort, IsAbsent()),
               Field("limit", &ListFileResourceRequest::limit,
                     AllOf(IsAbsent(), Property(&Limit::value, 200))));
}

TEST_F(AmazonDriveGetRootDirectory, AsksForTheRootNodeOnce) {
  EXPECT_CALL(client(), listFileResource(rootRequest()))
      .WillOnce(pageOf<AmazonDrive>({{"root id", "Cloud Drive"}}, "there is more"));

  ASSERT_EQ(call(), 0);
  EXPECT_EQ(operation_.outs.folder(), (Folder{"root id", "Cloud Drive"}));
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AmazonDriveGetRootDirectory, OfAnAccountWithoutARootGivesOneHundredAndLogsNothing) {
  const VerboseLevel level(9);
  willAnswer(pageOf<AmazonDrive>({}));

  EXPECT_EQ(call(), 100);
  EXPECT_TRUE(operation_.outs.areCleared());
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_F(AmazonDriveGetRootDirectory, OfAnAccountWithTwoRootsGivesTheFirstAndOneErrorLine) {
  willAnswer(pageOf<AmazonDrive>({{"1", "one"}, {"2", "two"}}));

  ASSERT_EQ(call(), 0);
  EXPECT_EQ(operation_.outs.folder(), (Folder{"1", "one"}));
  EXPECT_THAT(log_.records(), ElementsAre(errorLine(kDuplicateRoot)));
}

TEST_F(AmazonDriveGetRootDirectory, TellsAllOfTheFirstNodeAtLevelNine) {
  const VerboseLevel level(9);
  const std::string described = AmazonDrive::folder("1", "one").toString();
  willAnswer(pageOf<AmazonDrive>({{"1", "one"}, {"2", "two"}}));

  ASSERT_EQ(call(), 0);
  EXPECT_THAT(log_.records(), ElementsAre(errorLine(kDuplicateRoot),
                                          verboseLine("Fetch node file resource. " + described)));
}

class AmazonDriveListDirectory : public UnitTests::DriveListingTest<AmazonDrive> {
 protected:
  AmazonDriveListDirectory() { AmazonDrive::prepare(client()); }
};

// The start token is there from the first page on.
auto requestFor(const std::string& id, const std::string& token) {
  return AllOf(Field("endpoint", &ListFileResourceRequest::endpoint,
                     IsPresentAs(AmazonDrive::kMetadataEndpoint)),
               Field("filters", &ListFileResourceRequest::filters,
                     IsPresentAs("kind:FOLDER AND status:AVAILABLE AND parents:\"" + id + "\"")),
               Field("startToken", &ListFileResourceRequest::startToken, IsPresentAs(token)),
               Field("sort", &ListFileResourceRequest::sort, IsPresentAs("[kind,name]")),
               Field("limit", &ListFileResourceRequest::limit, IsPresentAs(100)),
               Field("contentType", &ListFileResourceRequest::contentType,
                     "application/x-www-form-urlencoded"));
}

TEST_F(AmazonDriveListDirectory, AsksForAvailableFoldersOfTheParent) {
  willAnswer({pageOf<AmazonDrive>({{"1", "one"}, {"2", "two"}})});

  ASSERT_EQ(list("parent-1"), 0);
  EXPECT_THAT(sent_, ElementsAre(requestFor("parent-1", "")));
  EXPECT_THAT(folders(), ElementsAre(Folder{"1", "one"}, Folder{"2", "two"}));
}

TEST_F(AmazonDriveListDirectory, TakesThreeQueriesForTwoHundredFiftyFolders) {
  willAnswer({pageOf<AmazonDrive>(numberedFolders(0, 100), "second"),
              pageOf<AmazonDrive>(numberedFolders(100, 100), "third&="),
              pageOf<AmazonDrive>(numberedFolders(200, 50))});

  ASSERT_EQ(list("p"), 0);
  EXPECT_THAT(sent_, ElementsAre(requestFor("p", ""), requestFor("p", "second"),
                                 requestFor("p", "third&=")));
  EXPECT_EQ(folders(), numberedFolders(0, 250));
}

TEST_F(AmazonDriveListDirectory, PutsTheParentsIdIntoTheFilterAsItIs) {
  for (const char* id : {"a\"b", "", "\\", "x AND y", "\xC3\xA4"}) {
    SCOPED_TRACE(id);
    sent_.clear();
    operation_.outs.reset();
    willAnswer({pageOf<AmazonDrive>({})});
    EXPECT_EQ(list(id), 0);
    EXPECT_THAT(sent_, ElementsAre(requestFor(id, "")));
  }
}

TEST_F(AmazonDriveListDirectory, TellsTheBaseFilterAndTheResultAtLevelNine) {
  const VerboseLevel level(9);
  willAnswer({pageOf<AmazonDrive>({{"1", "one"}}, "next"), pageOf<AmazonDrive>({})});

  ASSERT_EQ(list("parent-1"), 0);
  EXPECT_THAT(log_.records(),
              ElementsAre(verboseLine("Start to fetch children. parentId = parent-1, filter = "
                                      "kind:FOLDER AND status:AVAILABLE"),
                          verboseLine("Got 1 directories. ")));
}

TEST_F(AmazonDriveListDirectory, TellsTheBaseFilterAtLevelNineBeforeItFails) {
  const VerboseLevel level(9);
  willAnswer({failure});

  EXPECT_EQ(list("p"), 1);
  EXPECT_THAT(log_.records(),
              ElementsAre(verboseLine("Start to fetch children. parentId = p, filter = "
                                      "kind:FOLDER AND status:AVAILABLE"),
                          errorLine("Failed to list directories. It went wrong.")));
}

class AmazonDriveCreateDirectory : public UnitTests::DriveCreationTest<AmazonDrive> {
 protected:
  AmazonDriveCreateDirectory() { AmazonDrive::prepare(client()); }
};

auto creationOf(const std::string& name, const std::string& parentId) {
  return AllOf(
      Field("endpoint", &FileRequest::endpoint, IsPresentAs(AmazonDrive::kMetadataEndpoint)),
      Field("name", &FileRequest::name, IsPresentAs(name)),
      Field("kind", &FileRequest::kind, IsPresentAs("FOLDER")),
      Field("parent", &FileRequest::parent, IsPresentAs(parentId)));
}

TEST_F(AmazonDriveCreateDirectory, SendsNameKindAndParent) {
  EXPECT_CALL(client(), folderCreate(creationOf("new", "parent-1")))
      .WillOnce(itemOf<AmazonDrive>({"id", "new"}));
  EXPECT_EQ(create("parent-1", "new"), 0);
}

TEST_F(AmazonDriveCreateDirectory, HandsOutTheNameAsTheServiceStoredIt) {
  willAnswer(itemOf<AmazonDrive>({"id", "new (1)"}));
  ASSERT_EQ(create("parent-1", "new"), 0);
  EXPECT_EQ(operation_.outs.folder(), (Folder{"id", "new (1)"}));
}

}  // namespace
