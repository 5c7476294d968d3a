#include <gmock/gmock.h>
#include <malloc.h>

#include <string>

#include "drive_operations.h"
#include "libvemlo.h"

// What sets the Dropbox operations apart; drive_operations_test.cpp has what all drives share.
namespace {

using CloudStorage::Client::Dropbox::Model::CreateFolderRequest;
using CloudStorage::Client::Dropbox::Model::ListFolderRequest;
using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using TestSupport::errorLine;
using UnitTests::Dropbox;
using UnitTests::failure;
using UnitTests::Folder;
using UnitTests::FolderPage;
using UnitTests::IsAbsent;
using UnitTests::IsPresentAs;
using UnitTests::itemOf;
using UnitTests::pageOf;

class DropboxListDirectory : public UnitTests::DriveListingTest<Dropbox> {};

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
  willAnswer({pageOf<Dropbox>({{"/x/One", "One"}, {"/x/two", "two"}})});

  ASSERT_EQ(list("/x"), 0);
  EXPECT_THAT(sent_, ElementsAre(requestFor("/x", IsAbsent())));
  EXPECT_THAT(folders(), ElementsAre(Folder{"/x/One", "One"}, Folder{"/x/two", "two"}));
}

TEST_F(DropboxListDirectory, SendsTheEmptyPathForTheRoot) {
  willAnswer({pageOf<Dropbox>({})});
  EXPECT_EQ(list("/"), 0);
  EXPECT_THAT(sent_, ElementsAre(requestFor("", IsAbsent())));
}

TEST_F(DropboxListDirectory, SendsEveryOtherIdAsItIs) {
  for (const char* id : {"", "//", "/x/", " /", "/\xC3\xA4", "id:abc", "x"}) {
    SCOPED_TRACE(id);
    sent_.clear();
    operation_.outs.reset();
    willAnswer({pageOf<Dropbox>({})});
    EXPECT_EQ(list(id), 0);
    EXPECT_THAT(sent_, ElementsAre(requestFor(id, IsAbsent())));
  }
}

TEST_F(DropboxListDirectory, SkipsWhateverIsNotTaggedExactlyAsAFolder) {
  willAnswer({[] {
    FolderPage<Dropbox> page({{"/1", "1"},
                              {"/2", "2"},
                              {"/3", "3"},
                              {"/4", "4"},
                              {"/5", "5"},
                              {"/6", "6"},
                              {"/7", "7"}});
    const char* tags[] = {"folder", "file", "deleted", "Folder", "", "folder ", "folder"};
    for (std::size_t i = 0; i < page.items().size(); ++i) page.items()[i].tag = tags[i];
    return page.followedBy("");
  }});

  ASSERT_EQ(list("/"), 0);
  EXPECT_THAT(folders(), ElementsAre(Folder{"/1", "1"}, Folder{"/7", "7"}));
}

TEST_F(DropboxListDirectory, ArrayHasRoomForTheFoldersOnly) {
  constexpr int kFiles = 10000;
  willAnswer({[] {
    FolderPage<Dropbox> page(UnitTests::numberedFolders(0, kFiles + 1));
    for (auto& item : page.items()) item.tag = "file";
    page.items().back().tag = "folder";
    return page.followedBy("");
  }});

  ASSERT_EQ(list("/"), 0);
  ASSERT_EQ(folders().size(), 1U);
  EXPECT_LT(malloc_usable_size(operation_.outs.list), kFiles * sizeof(directory));
}

TEST_F(DropboxListDirectory, EndsAfterAFirstPageThatIsTheLastWhateverItsCursor) {
  willAnswer({[] {
    auto page = pageOf<Dropbox>({{"/a", "a"}})().getResult();
    page.cursor = "where a continuation would begin";
    return page;
  }});

  ASSERT_EQ(list("/"), 0);
  EXPECT_THAT(sent_, ElementsAre(requestFor("", IsAbsent())));
  EXPECT_THAT(folders(), ElementsAre(Folder{"/a", "a"}));
}

TEST_F(DropboxListDirectory, EndsAfterAPageWithoutACursorEvenIfMoreEntriesFollow) {
  willAnswer({[] {
    auto page = pageOf<Dropbox>({{"/a", "a"}})().getResult();
    page.hasMore = true;
    return page;
  }});

  ASSERT_EQ(list("/"), 0);
  EXPECT_THAT(folders(), ElementsAre(Folder{"/a", "a"}));
}

TEST_F(DropboxListDirectory, ContinuesWithTheCursorAndStillSendsThePath) {
  willAnswer({pageOf<Dropbox>({{"/x/a", "a"}}, "first cursor"),
              pageOf<Dropbox>({{"/x/b", "b"}}, "second cursor"), failure});

  EXPECT_EQ(list("/x"), 1);
  EXPECT_THAT(sent_, ElementsAre(requestFor("/x", IsAbsent()),
                                 requestFor("/x", IsPresentAs("first cursor")),
                                 requestFor("/x", IsPresentAs("second cursor"))));
}

TEST_F(DropboxListDirectory, RepeatsTheLastContinuationUntilARequestFails) {
  const auto lastPage = [] {
    auto page = pageOf<Dropbox>({{"/x/b", "b"}})().getResult();
    page.cursor = "cursor of the last page";  // not taken, as nothing follows
    return page;
  };
  willAnswer({pageOf<Dropbox>({{"/x/a", "a"}}, "cursor"), lastPage, lastPage, lastPage, lastPage,
              failure});

  EXPECT_EQ(list("/x"), 1);
  EXPECT_TRUE(operation_.outs.areCleared());
  ASSERT_EQ(sent_.size(), 6U);
  EXPECT_THAT(sent_.front(), requestFor("/x", IsAbsent()));
  sent_.erase(sent_.begin());
  EXPECT_THAT(sent_, Each(requestFor("/x", IsPresentAs("cursor"))));
  EXPECT_THAT(log_.records(), ElementsAre(errorLine("Failed to list directories. It went wrong.")));
}

class DropboxCreateDirectory : public UnitTests::DriveCreationTest<Dropbox> {
 protected:
  void expectPath(const std::string& path) {
    EXPECT_CALL(client(),
                createFolder(AllOf(Field(&CreateFolderRequest::path, IsPresentAs(path)),
                                   Field(&CreateFolderRequest::autorename, IsPresentAs(false)),
                                   Field(&CreateFolderRequest::contentType, "application/json"))))
        .WillOnce(itemOf<Dropbox>({"/path/of the service", "its name"}));
  }
};

TEST_F(DropboxCreateDirectory, SendsParentSlashNameAndHandsOutWhatTheServiceMade) {
  expectPath("/x/A");
  ASSERT_EQ(create("/x", "A"), 0);
  EXPECT_EQ(operation_.outs.folder(), (Folder{"/path/of the service", "its name"}));
}

TEST_F(DropboxCreateDirectory, SendsTwoSlashesUnderTheRootRecord) {
  expectPath("//A");
  EXPECT_EQ(create("/", "A"), 0);
}

TEST_F(DropboxCreateDirectory, SendsOneSlashUnderARecordWithAnEmptyId) {
  expectPath("/A");
  EXPECT_EQ(create("", "A"), 0);
}

}  // namespace
