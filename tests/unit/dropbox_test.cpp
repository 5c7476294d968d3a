#include <gmock/gmock.h>
#include <malloc.h>

#include <string>
#include <utility>
#include <vector>

#include "dropbox_session_fixture.h"

// What is specific to the Dropbox operations.
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using TestSupport::errorLine;
using TestSupport::DropboxModel::CreateFolderRequest;
using TestSupport::DropboxModel::ListFolderRequest;
using UnitTests::failure;
using UnitTests::Folder;
using UnitTests::IsAbsent;
using UnitTests::IsPresentAs;
using UnitTests::itemOf;
using UnitTests::numberedFolders;
using UnitTests::pageOf;

class DropboxListDirectory : public testing::Test, protected UnitTests::DropboxFixture {
 protected:
  /// One page of numbered folders with these tags.
  void willReturnTags(const std::vector<std::string>& tags) {
    willReturnPages({pageOf(numberedFolders(0, static_cast<int>(tags.size())))});
    editPage = [tags](Page& page) {
      decltype(page.entries) tagged;
      auto tag = tags.begin();
      for (Item item : page.entries) {
        item.tag = *tag++;
        tagged.push_back(item);
      }
      page.entries = std::move(tagged);
    };
  }
};

template <typename Cursor>
auto requestFor(const std::string& path, Cursor cursor) {
  return AllOf(Field("path", &ListFolderRequest::path, IsPresentAs(path)),
               Field("recursive", &ListFolderRequest::recursive, IsPresentAs(false)),
               Field("includeMediaInfo", &ListFolderRequest::includeMediaInfo, IsPresentAs(false)),
               Field("includeDeleted", &ListFolderRequest::includeDeleted, IsPresentAs(false)),
               Field("includeHasExplicitSharedMembers",
                     &ListFolderRequest::includeHasExplicitSharedMembers, IsPresentAs(false)),
               Field("cursor", &ListFolderRequest::cursor, cursor),
               Field("contentType", &ListFolderRequest::contentType, "application/json"));
}

TEST_F(DropboxListDirectory, SendsThePathAndFourOptionsAsFalse) {
  willReturnPages({pageOf({{"/x/One", "One"}, {"/x/two", "two"}})});

  ASSERT_EQ(list("/x"), 0);
  EXPECT_THAT(pages.requests, ElementsAre(requestFor("/x", IsAbsent())));
  EXPECT_THAT(folders.folders(), ElementsAre(Folder{"/x/One", "One"}, Folder{"/x/two", "two"}));
}

TEST_F(DropboxListDirectory, SendsTheEmptyPathForTheRoot) {
  willReturnPages({pageOf({})});
  EXPECT_EQ(list("/"), 0);
  EXPECT_THAT(pages.requests, ElementsAre(requestFor("", IsAbsent())));
}

TEST_F(DropboxListDirectory, SendsEveryOtherIdUnchanged) {
  for (const char* id : {"", "//", "/x/", " /", "/\xC3\xA4", "id:abc", "x"}) {
    SCOPED_TRACE(id);
    folders.reset();
    willReturnPages({pageOf({})});
    EXPECT_EQ(list(id), 0);
    EXPECT_THAT(pages.requests, ElementsAre(requestFor(id, IsAbsent())));
  }
}

TEST_F(DropboxListDirectory, SkipsEntriesWhoseTagIsNotExactlyFolder) {
  willReturnTags({"folder", "file", "deleted", "Folder", "", "folder ", "folder"});

  ASSERT_EQ(list("/"), 0);
  EXPECT_THAT(folders.folders(), ElementsAre(Folder{"id 0", "name 0"}, Folder{"id 6", "name 6"}));
}

TEST_F(DropboxListDirectory, ArrayHasRoomForTheFoldersOnly) {
  constexpr int kFiles = 10000;
  std::vector<std::string> tags(kFiles, "file");
  tags.emplace_back("folder");
  willReturnTags(tags);

  ASSERT_EQ(list("/"), 0);
  ASSERT_EQ(folders.count, 1);
  EXPECT_LT(malloc_usable_size(folders.list), kFiles * sizeof(directory));
}

TEST_F(DropboxListDirectory, EndsAfterAFirstPageThatIsTheLastWhateverItsCursor) {
  editPage = [](Page& page) { page.cursor = "where a continuation would begin"; };
  willReturnPages({pageOf({{"/a", "a"}})});

  ASSERT_EQ(list("/"), 0);
  EXPECT_THAT(pages.requests, ElementsAre(requestFor("", IsAbsent())));
  EXPECT_THAT(folders.folders(), ElementsAre(Folder{"/a", "a"}));
}

TEST_F(DropboxListDirectory, EndsAfterAPageWithoutACursorEvenIfMoreEntriesFollow) {
  editPage = [](Page& page) { page.hasMore = true; };
  willReturnPages({pageOf({{"/a", "a"}})});

  ASSERT_EQ(list("/"), 0);
  EXPECT_THAT(folders.folders(), ElementsAre(Folder{"/a", "a"}));
}

TEST_F(DropboxListDirectory, ContinuesWithTheCursorAndStillSendsThePath) {
  willReturnPages({pageOf({{"/x/a", "a"}}, "first cursor"),
                   pageOf({{"/x/b", "b"}}, "second cursor"), failure()});

  EXPECT_EQ(list("/x"), 1);
  EXPECT_THAT(pages.requests, ElementsAre(requestFor("/x", IsAbsent()),
                                          requestFor("/x", IsPresentAs("first cursor")),
                                          requestFor("/x", IsPresentAs("second cursor"))));
}

TEST_F(DropboxListDirectory, RepeatsTheLastContinuationUntilARequestFails) {
  editPage = [](Page& page) {
    if (!page.hasMore) page.cursor = "cursor of the last page";  // ignored, as nothing follows
  };
  const auto last = pageOf({{"/x/b", "b"}});
  willReturnPages({pageOf({{"/x/a", "a"}}, "cursor"), last, last, last, last, failure()});

  EXPECT_EQ(list("/x"), 1);
  EXPECT_TRUE(folders.isCleared());
  ASSERT_EQ(pages.requests.size(), 6U);
  EXPECT_THAT(pages.requests.front(), requestFor("/x", IsAbsent()));
  pages.requests.erase(pages.requests.begin());
  EXPECT_THAT(pages.requests, Each(requestFor("/x", IsPresentAs("cursor"))));
  EXPECT_THAT(log.records(), ElementsAre(errorLine("Failed to list directories. It went wrong.")));
}

class DropboxCreateDirectory : public testing::Test, protected UnitTests::DropboxFixture {
 protected:
  DropboxCreateDirectory() { willCreate(itemOf({"/path/of the service", "its name"})); }

  void expectPath(const std::string& path) const {
    EXPECT_THAT(creations,
                ElementsAre(AllOf(Field(&CreateFolderRequest::path, IsPresentAs(path)),
                                  Field(&CreateFolderRequest::autorename, IsPresentAs(false)),
                                  Field(&CreateFolderRequest::contentType, "application/json"))));
  }
};

TEST_F(DropboxCreateDirectory, SendsParentSlashNameAndReturnsWhatTheServiceCreated) {
  ASSERT_EQ(create("/x", "A"), 0);
  expectPath("/x/A");
  EXPECT_EQ(folder.folder(), (Folder{"/path/of the service", "its name"}));
}

TEST_F(DropboxCreateDirectory, SendsTwoSlashesUnderTheRootRecord) {
  EXPECT_EQ(create("/", "A"), 0);
  expectPath("//A");
}

TEST_F(DropboxCreateDirectory, SendsOneSlashUnderARecordWithAnEmptyId) {
  EXPECT_EQ(create("", "A"), 0);
  expectPath("/A");
}

}  // namespace
