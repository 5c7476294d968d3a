#include <gmock/gmock.h>

#include <string>

#include "amazon_drive_session_fixture.h"

// What is specific to the Amazon Drive operations on folders.
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;
using testing::Property;
using TestSupport::errorLine;
using TestSupport::VerboseLevel;
using TestSupport::verboseLine;
using TestSupport::AmazonDriveModel::FileRequest;
using TestSupport::AmazonDriveModel::ListFileResourceRequest;
using UnitTests::failure;
using UnitTests::Folder;
using UnitTests::IsAbsent;
using UnitTests::IsPresentAs;
using UnitTests::itemOf;
using UnitTests::numberedFolders;
using UnitTests::pageOf;

class AmazonDriveTest : public testing::Test, protected UnitTests::AmazonDriveFixture {
 protected:
  AmazonDriveTest() { prepare(); }
};

constexpr auto& kMetadataEndpoint = UnitTests::AmazonDriveFixture::kMetadataEndpoint;
constexpr char kDuplicateRoot[] = "Find duplicate root node metadata. ";

using AmazonDriveGetRootDirectory = AmazonDriveTest;

auto rootRequest() {
  using Limit = CloudStorage::Util::Field<int>;
  return AllOf(
      Field("endpoint", &ListFileResourceRequest::endpoint, IsPresentAs(kMetadataEndpoint)),
      Field("filters", &ListFileResourceRequest::filters,
            IsPresentAs("kind:FOLDER AND isRoot:true")),
      Field("startToken", &ListFileResourceRequest::startToken, IsAbsent()),
      Field("sort", &ListFileResourceRequest::sort, IsAbsent()),
      Field("limit", &ListFileResourceRequest::limit,
            AllOf(IsAbsent(), Property(&Limit::value, 200))));
}

TEST_F(AmazonDriveGetRootDirectory, RequestsTheRootNodeOnce) {
  willReturnRoot(pageOf({{"root id", "Cloud Drive"}}, "there is more"));

  ASSERT_EQ(getRoot(), 0);
  EXPECT_THAT(pages.requests, ElementsAre(rootRequest()));
  EXPECT_EQ(folder.folder(), (Folder{"root id", "Cloud Drive"}));
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(AmazonDriveGetRootDirectory, OfAnAccountWithoutARootReturnsOneHundredAndLogsNothing) {
  const VerboseLevel level(9);
  willReturnRoot(pageOf({}));

  EXPECT_EQ(getRoot(), 100);
  EXPECT_TRUE(folder.isCleared());
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_F(AmazonDriveGetRootDirectory, OfAnAccountWithTwoRootsReturnsTheFirstAndLogsOneErrorLine) {
  willReturnRoot(pageOf({{"1", "one"}, {"2", "two"}}));

  ASSERT_EQ(getRoot(), 0);
  EXPECT_EQ(folder.folder(), (Folder{"1", "one"}));
  EXPECT_THAT(log.records(), ElementsAre(errorLine(kDuplicateRoot)));
}

TEST_F(AmazonDriveGetRootDirectory, LogsTheWholeFirstNodeAtLevelNine) {
  const VerboseLevel level(9);
  const std::string described = UnitTests::AmazonDriveTypes::folder("1", "one").toString();
  willReturnRoot(pageOf({{"1", "one"}, {"2", "two"}}));

  ASSERT_EQ(getRoot(), 0);
  EXPECT_THAT(log.records(), ElementsAre(errorLine(kDuplicateRoot),
                                         verboseLine("Fetch node file resource. " + described)));
}

using AmazonDriveListDirectory = AmazonDriveTest;

// The start token is present from the first page on.
auto requestFor(const std::string& id, const std::string& token) {
  return AllOf(
      Field("endpoint", &ListFileResourceRequest::endpoint, IsPresentAs(kMetadataEndpoint)),
      Field("filters", &ListFileResourceRequest::filters,
            IsPresentAs("kind:FOLDER AND status:AVAILABLE AND parents:\"" + id + "\"")),
      Field("startToken", &ListFileResourceRequest::startToken, IsPresentAs(token)),
      Field("sort", &ListFileResourceRequest::sort, IsPresentAs("[kind,name]")),
      Field("limit", &ListFileResourceRequest::limit, IsPresentAs(100)),
      Field("contentType", &ListFileResourceRequest::contentType,
            "application/x-www-form-urlencoded"));
}

TEST_F(AmazonDriveListDirectory, RequestsAvailableFoldersOfTheParent) {
  willReturnPages({pageOf({{"1", "one"}, {"2", "two"}})});

  ASSERT_EQ(list("parent-1"), 0);
  EXPECT_THAT(pages.requests, ElementsAre(requestFor("parent-1", "")));
  EXPECT_THAT(folders.folders(), ElementsAre(Folder{"1", "one"}, Folder{"2", "two"}));
}

TEST_F(AmazonDriveListDirectory, RequestsThreePagesForTwoHundredFiftyFolders) {
  willReturnPages({pageOf(numberedFolders(0, 100), "second"),
                   pageOf(numberedFolders(100, 100), "third&="), pageOf(numberedFolders(200, 50))});

  ASSERT_EQ(list("p"), 0);
  EXPECT_THAT(pages.requests, ElementsAre(requestFor("p", ""), requestFor("p", "second"),
                                          requestFor("p", "third&=")));
  EXPECT_EQ(folders.folders(), numberedFolders(0, 250));
}

TEST_F(AmazonDriveListDirectory, PutsTheParentsIdIntoTheFilterUnchanged) {
  for (const char* id : {"a\"b", "", "\\", "x AND y", "\xC3\xA4"}) {
    SCOPED_TRACE(id);
    folders.reset();
    willReturnPages({pageOf({})});
    EXPECT_EQ(list(id), 0);
    EXPECT_THAT(pages.requests, ElementsAre(requestFor(id, "")));
  }
}

TEST_F(AmazonDriveListDirectory, LogsTheBaseFilterAndTheResultAtLevelNine) {
  const VerboseLevel level(9);
  willReturnPages({pageOf({{"1", "one"}}, "next"), pageOf({})});

  ASSERT_EQ(list("parent-1"), 0);
  EXPECT_THAT(log.records(),
              ElementsAre(verboseLine("Start to fetch children. parentId = parent-1, filter = "
                                      "kind:FOLDER AND status:AVAILABLE"),
                          verboseLine("Got 1 directories. ")));
}

TEST_F(AmazonDriveListDirectory, LogsTheBaseFilterAtLevelNineBeforeItFails) {
  const VerboseLevel level(9);
  willReturnPages({failure()});

  EXPECT_EQ(list("p"), 1);
  EXPECT_THAT(log.records(),
              ElementsAre(verboseLine("Start to fetch children. parentId = p, filter = "
                                      "kind:FOLDER AND status:AVAILABLE"),
                          errorLine("Failed to list directories. It went wrong.")));
}

using AmazonDriveCreateDirectory = AmazonDriveTest;

auto creationOf(const std::string& name, const std::string& parentId) {
  return AllOf(Field("endpoint", &FileRequest::endpoint, IsPresentAs(kMetadataEndpoint)),
               Field("name", &FileRequest::name, IsPresentAs(name)),
               Field("kind", &FileRequest::kind, IsPresentAs("FOLDER")),
               Field("parent", &FileRequest::parent, IsPresentAs(parentId)));
}

TEST_F(AmazonDriveCreateDirectory, SendsNameKindAndParent) {
  willCreate(itemOf({"id", "new"}));
  EXPECT_EQ(create("parent-1", "new"), 0);
  EXPECT_THAT(creations, ElementsAre(creationOf("new", "parent-1")));
}

TEST_F(AmazonDriveCreateDirectory, ReturnsTheNameThatTheServiceStored) {
  willCreate(itemOf({"id", "new (1)"}));
  ASSERT_EQ(create("parent-1", "new"), 0);
  EXPECT_EQ(folder.folder(), (Folder{"id", "new (1)"}));
}

}  // namespace
