#include "drive_operations.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "free_recorder.h"
#include "support/log_capture.h"
#include "verbose_level.h"

// What the operations on folders have in common, on all drives.
namespace {

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using TestSupport::errorLine;
using UnitTests::AmazonDrive;
using UnitTests::CreateDirectory;
using UnitTests::Dropbox;
using UnitTests::errorOfType;
using UnitTests::failure;
using UnitTests::Folder;
using UnitTests::GetRootDirectory;
using UnitTests::GoogleDrive;
using UnitTests::ListDirectory;
using UnitTests::OneDrive;

template <typename Operation>
class DriveOperation : public UnitTests::DriveOperationTest<Operation> {
 protected:
  DriveOperation() { Operation::Drive::prepare(this->client()); }
};

struct OperationName {
  template <typename Operation>
  static std::string GetName(int /*index*/) {
    return std::string(Operation::Drive::kName) + Operation::kName;
  }
};

using Operations =
    testing::Types<GetRootDirectory<GoogleDrive>, GetRootDirectory<AmazonDrive>,
                   GetRootDirectory<OneDrive>, ListDirectory<GoogleDrive>,
                   ListDirectory<AmazonDrive>, ListDirectory<OneDrive>, ListDirectory<Dropbox>,
                   CreateDirectory<GoogleDrive>, CreateDirectory<AmazonDrive>,
                   CreateDirectory<OneDrive>, CreateDirectory<Dropbox>>;
TYPED_TEST_SUITE(DriveOperation, Operations, OperationName);

TYPED_TEST(DriveOperation, LogsNothingBelowLevelNine) {
  const UnitTests::VerboseLevel level(8);
  this->willAnswer(TypeParam::answer({"id", "name"}));

  EXPECT_EQ(this->call(), 0);
  EXPECT_THAT(this->log_.records(), IsEmpty());
}

TYPED_TEST(DriveOperation, ReportsAFailedRequestByItsMessageAlone) {
  this->willAnswer(failure);

  EXPECT_EQ(this->call(), 1);
  EXPECT_TRUE(this->operation_.outs.areCleared());
  EXPECT_THAT(this->log_.records(),
              ElementsAre(errorLine(TypeParam::kFailureText + std::string("It went wrong."))));
}

TYPED_TEST(DriveOperation, FailsWithOneWhateverTheErrorTypeIs) {
  for (const std::uint32_t type : UnitTests::kErrorTypes) {
    SCOPED_TRACE(type);
    this->log_.clear();
    this->operation_.outs.reset();
    this->willAnswer([type] { return errorOfType(type); });
    EXPECT_EQ(this->call(), 1);
    EXPECT_TRUE(this->operation_.outs.areCleared());
    EXPECT_THAT(this->log_.records(), ElementsAre(errorLine(TypeParam::kFailureText)));
  }
}

TYPED_TEST(DriveOperation, ClearsTheOutsBeforeTheRequest) {
  this->willAnswer([this] {
    EXPECT_TRUE(this->operation_.outs.areCleared());
    return failure();
  });
  EXPECT_EQ(this->call(), 1);
}

TYPED_TEST(DriveOperation, KeepsTheClientWhileTheSessionIsClosedAndNoLonger) {
  const std::weak_ptr<void> alive = this->handle_.get()->*TypeParam::Drive::kClient;
  this->willAnswer([this, &alive] {
    this->handle_.reset();
    EXPECT_FALSE(alive.expired());
    return TypeParam::answer({"id", "name"})();
  });

  EXPECT_EQ(this->call(), 0);
  EXPECT_TRUE(alive.expired());
}

TYPED_TEST(DriveOperation, RefusesANullSessionAndLeavesTheOutsAlone) {
  EXPECT_EQ(this->operation_.call(nullptr), -1);
  EXPECT_THAT(this->operation_.callWithNulls(nullptr), Each(-1));
  EXPECT_TRUE(this->operation_.outs.areUntouched());
  EXPECT_THAT(this->log_.records(), IsEmpty());
}

TYPED_TEST(DriveOperation, RefusesEachNullArgumentAndLeavesTheOutsAlone) {
  EXPECT_THAT(this->operation_.callWithNulls(this->handle_.get()), Each(-1));
  EXPECT_TRUE(this->operation_.outs.areUntouched());
  EXPECT_THAT(this->log_.records(), IsEmpty());
}

TYPED_TEST(DriveOperation, ChecksAllArgumentsBeforeItLooksIntoTheSession) {
  EXPECT_THAT(this->operation_.callWithNulls(UnitTests::unreadableSession()), Each(-1));
  EXPECT_TRUE(this->operation_.outs.areUntouched());
}

TYPED_TEST(DriveOperation, RefusesASessionOfAnotherServiceAndLeavesTheOutsAlone) {
  UnitTests::withSessionsOfOthersThan(TypeParam::Drive::kName, [this](session* other) {
    this->log_.clear();
    this->operation_.outs.reset();
    EXPECT_EQ(this->operation_.call(other), -1);
    EXPECT_TRUE(this->operation_.outs.areUntouched());
    EXPECT_THAT(this->log_.records(), IsEmpty());
  });
}

// Those that have nothing to tell but failures.
template <typename Operation>
class QuietDriveOperation : public DriveOperation<Operation> {};

using QuietOperations = testing::Types<GetRootDirectory<GoogleDrive>, ListDirectory<Dropbox>,
                                       CreateDirectory<GoogleDrive>, CreateDirectory<AmazonDrive>,
                                       CreateDirectory<OneDrive>, CreateDirectory<Dropbox>>;
TYPED_TEST_SUITE(QuietDriveOperation, QuietOperations, OperationName);

TYPED_TEST(QuietDriveOperation, LogsNothingEvenAtLevelNine) {
  const UnitTests::VerboseLevel level(9);
  this->willAnswer(TypeParam::answer({"id", "name"}));

  EXPECT_EQ(this->call(), 0);
  EXPECT_THAT(this->log_.records(), IsEmpty());
}

// Those that hand out a single record. OneDrive's root is not among them: it has a name of ours.
template <typename Operation>
class DriveFolder : public DriveOperation<Operation> {};

using FolderOperations =
    testing::Types<GetRootDirectory<GoogleDrive>, GetRootDirectory<AmazonDrive>,
                   CreateDirectory<GoogleDrive>, CreateDirectory<AmazonDrive>,
                   CreateDirectory<OneDrive>, CreateDirectory<Dropbox>>;
TYPED_TEST_SUITE(DriveFolder, FolderOperations, OperationName);

TYPED_TEST(DriveFolder, IsHandedOutAsTheServiceDescribesIt) {
  for (const Folder& folder : std::vector<Folder>{{"id", "name"}, {"", ""}, {"\xC3\xA4", "\xFF"}}) {
    this->operation_.outs.reset();
    this->willAnswer(TypeParam::answer(folder));
    ASSERT_EQ(this->call(), 0);
    EXPECT_EQ(this->operation_.outs.folder(), folder);
  }
}

TYPED_TEST(DriveFolder, IsARecordOfItsOwnWithTextsOfTheirOwn) {
  this->willAnswer(TypeParam::answer({"id", "name"}));

  ASSERT_EQ(this->call(), 0);
  directory*& record = this->operation_.outs.record;
  std::free(record->id);
  std::free(record->name);
  std::free(record);
  record = UnitTests::FolderOut::untouched();
}

template <typename Drive>
class DriveListing : public UnitTests::DriveListingTest<Drive> {
 protected:
  DriveListing() { Drive::prepare(this->client()); }
};

struct DriveName {
  template <typename Drive>
  static std::string GetName(int /*index*/) {
    return Drive::kName;
  }
};

using Drives = testing::Types<GoogleDrive, AmazonDrive, OneDrive, Dropbox>;
TYPED_TEST_SUITE(DriveListing, Drives, DriveName);

TYPED_TEST(DriveListing, KeepsTheServicesOrderAndEveryByteAndDuplicates) {
  const std::vector<Folder> folders{{"z", "Z"},    {"", ""},      {"a", "same"},
                                    {"b", "same"}, {"a", "same"}, {"\xC3\xA4\xFF", "\xC3\xA4/"}};
  this->willAnswer({UnitTests::pageOf<TypeParam>(folders)});

  ASSERT_EQ(this->call(), 0);
  EXPECT_EQ(this->folders(), folders);
}

TYPED_TEST(DriveListing, ConsistsOfSeparateBlocksOfTheStandardAllocator) {
  this->willAnswer({UnitTests::pageOf<TypeParam>(UnitTests::numberedFolders(0, 2))});

  ASSERT_EQ(this->call(), 0);
  auto& outs = this->operation_.outs;
  ASSERT_EQ(outs.count, 2);
  for (int i = 0; i < 2; ++i) {
    std::free(outs.list[i].id);
    std::free(outs.list[i].name);
  }
  std::free(outs.list);
  outs.list = outs.untouched();
  outs.count = UnitTests::ListOuts<directory>().count;
}

TYPED_TEST(DriveListing, OfAFolderWithoutFoldersHasACountOfZero) {
  this->willAnswer({UnitTests::pageOf<TypeParam>({})});

  EXPECT_EQ(this->call(), 0);
  EXPECT_EQ(this->operation_.outs.count, 0);
  EXPECT_NE(this->operation_.outs.list, UnitTests::FoldersOut::untouched());
  EXPECT_THAT(this->log_.records(), IsEmpty());
}

TYPED_TEST(DriveListing, OfAFolderWithoutFoldersIsNotReleasedByTheFunctionForRecords) {
  this->willAnswer({UnitTests::pageOf<TypeParam>({})});

  ASSERT_EQ(this->call(), 0);
  const UnitTests::FreeRecorder recorder;
  free_diretories(this->operation_.outs.list, this->operation_.outs.count);
  EXPECT_THAT(recorder.freed(), IsEmpty());
}

TYPED_TEST(DriveListing, FailureOnTheSecondPageDiscardsTheFirst) {
  this->willAnswer(
      {UnitTests::pageOf<TypeParam>(UnitTests::numberedFolders(0, 3), "the next page"), failure});

  EXPECT_EQ(this->call(), 1);
  EXPECT_TRUE(this->operation_.outs.areCleared());
  EXPECT_THAT(this->log_.records(),
              ElementsAre(errorLine("Failed to list directories. It went wrong.")));
}

TYPED_TEST(DriveListing, KeepsTheClientBetweenPagesWhileTheSessionIsClosed) {
  this->willAnswer({[this] {
                      this->handle_.reset();
                      return UnitTests::pageOf<TypeParam>({{"id", "name"}}, "the next page")();
                    },
                    failure});
  EXPECT_EQ(this->call(), 1);
}

TYPED_TEST(DriveListing, MayRunOnSeveralThreadsOfOneSession) {
  TypeParam::expectPage(this->client()).WillRepeatedly([] {
    return UnitTests::pageOf<TypeParam>(UnitTests::numberedFolders(0, 100))();
  });
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([this] {
      UnitTests::ListDirectory<TypeParam> listing;
      EXPECT_EQ(listing.call(this->handle_.get()), 0);
      EXPECT_EQ(listing.outs.folders(), UnitTests::numberedFolders(0, 100));
    });
  }
  for (auto& thread : threads) thread.join();
}

template <typename Drive>
class DriveCreation : public UnitTests::DriveCreationTest<Drive> {
 protected:
  DriveCreation() { Drive::prepare(this->client()); }
};
TYPED_TEST_SUITE(DriveCreation, Drives, DriveName);

TYPED_TEST(DriveCreation, LeavesNameAndParentToTheServicesJudgement) {
  for (const char* text : {"", "/", "a/b", "..", "it's \"quoted\"", "\xC3\xA4", "\xFF\n"}) {
    SCOPED_TRACE(text);
    this->operation_.outs.reset();
    this->willAnswer([text](const auto& request) {
      EXPECT_EQ(TypeParam::pathIn(request), std::string(text) + '/' + text);
      return UnitTests::itemOf<TypeParam>({"id", "name"})();
    });
    EXPECT_EQ(this->create(text, text), 0);
  }
}

// Dropbox is another matter: its last page is asked for again and again.
template <typename Drive>
class PagedDriveListing : public DriveListing<Drive> {};

using PagedDrives = testing::Types<GoogleDrive, AmazonDrive, OneDrive>;
TYPED_TEST_SUITE(PagedDriveListing, PagedDrives, DriveName);

TYPED_TEST(PagedDriveListing, GoesOnAfterPagesWithoutFolders) {
  const auto empty = UnitTests::pageOf<TypeParam>({}, "next");
  this->willAnswer({empty, UnitTests::pageOf<TypeParam>({{"id", "name"}}, "next"), empty,
                    UnitTests::pageOf<TypeParam>({})});

  ASSERT_EQ(this->call(), 0);
  EXPECT_THAT(this->folders(), ElementsAre(Folder{"id", "name"}));
}

TYPED_TEST(PagedDriveListing, HasNoLimitOfPages) {
  int pages = 0;
  TypeParam::expectPage(this->client()).Times(301).WillRepeatedly([&pages] {
    ++pages;
    return UnitTests::pageOf<TypeParam>(UnitTests::numberedFolders(pages, 1),
                                        pages > 300 ? "" : "next")();
  });

  ASSERT_EQ(this->call(), 0);
  EXPECT_EQ(this->folders(), UnitTests::numberedFolders(1, 301));
}

TYPED_TEST(PagedDriveListing, TellsAtLevelNineHowManyFoldersAllPagesHold) {
  const UnitTests::VerboseLevel level(9);
  this->willAnswer({UnitTests::pageOf<TypeParam>(UnitTests::numberedFolders(0, 2), "next"),
                    UnitTests::pageOf<TypeParam>(UnitTests::numberedFolders(2, 1))});

  ASSERT_EQ(this->call(), 0);
  const auto records = this->log_.records();
  ASSERT_THAT(records, Not(IsEmpty()));
  EXPECT_EQ(records.back(), UnitTests::verboseLine("Got 3 directories. "));
}

TYPED_TEST(PagedDriveListing, TellsAtLevelNineThatThereAreNoFolders) {
  const UnitTests::VerboseLevel level(9);
  this->willAnswer({UnitTests::pageOf<TypeParam>({})});

  ASSERT_EQ(this->call(), 0);
  const auto records = this->log_.records();
  ASSERT_THAT(records, Not(IsEmpty()));
  EXPECT_EQ(records.back(), UnitTests::verboseLine("Got 0 directories. "));
}

TYPED_TEST(PagedDriveListing, DoesNotTellOfAFailedListingHowManyFoldersItHolds) {
  const UnitTests::VerboseLevel level(9);
  this->willAnswer({UnitTests::pageOf<TypeParam>({{"id", "name"}}, "next"), failure});

  EXPECT_EQ(this->call(), 1);
  EXPECT_EQ(this->log_.records().back(), errorLine("Failed to list directories. It went wrong."));
}

}  // namespace
