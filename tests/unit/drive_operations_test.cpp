#include "drive_operations.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace UnitTests {

inline void PrintTo(const OpenDrive& drive, std::ostream* out) { *out << drive.name; }
inline void PrintTo(const DriveOperation& operation, std::ostream* out) {
  *out << operation.name();
}

// What the operations on folders of all drives have in common, beside what tests/behaviour shows of
// all services.
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::Values;
using TestSupport::errorLine;
using TestSupport::VerboseLevel;
using TestSupport::verboseLine;

class AnyDriveOperation : public testing::TestWithParam<DriveOperation> {
 protected:
  AnyDriveOperation() { drive_->prepare(); }

  void willReturn(Reply reply) { GetParam().operation.willReturn(*drive_, std::move(reply)); }
  int call() { return GetParam().operation.call(*drive_); }

  const std::unique_ptr<DriveFixture> drive_ = GetParam().drive.open();
};

const auto operationName = [](const auto& instance) { return instance.param.name(); };

TEST_P(AnyDriveOperation, ReturnsOneWhateverTheErrorTypeIs) {
  for (const std::uint32_t type : kErrorTypes) {
    SCOPED_TRACE(type);
    drive_->log.clear();
    drive_->folder.reset();
    drive_->folders.reset();
    willReturn(errorOfType(type));
    EXPECT_EQ(call(), 1);
    EXPECT_TRUE(drive_->folder.isCleared() || drive_->folders.isCleared());
    EXPECT_THAT(drive_->log.records(), ElementsAre(errorLine(GetParam().operation.failureText)));
  }
}

INSTANTIATE_TEST_SUITE_P(Drives, AnyDriveOperation, testing::ValuesIn(allDriveOperations()),
                         operationName);

// The operations that log nothing but failures.
using QuietDriveOperation = AnyDriveOperation;

TEST_P(QuietDriveOperation, LogsNothingEvenAtLevelNine) {
  const VerboseLevel level(9);
  willReturn(itemOf({"id", "name"}));

  EXPECT_EQ(call(), 0);
  EXPECT_THAT(drive_->log.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Drives, QuietDriveOperation,
                         Values(DriveOperation{kOpenGoogleDrive, kGetRootDirectory},
                                DriveOperation{kOpenDropbox, kListDirectory},
                                DriveOperation{kOpenGoogleDrive, kCreateDirectory},
                                DriveOperation{kOpenAmazonDrive, kCreateDirectory},
                                DriveOperation{kOpenOneDrive, kCreateDirectory},
                                DriveOperation{kOpenDropbox, kCreateDirectory}),
                         operationName);

// The operations that return a single record. Not the root of OneDrive, whose name the library
// determines.
using DriveFolder = AnyDriveOperation;

TEST_P(DriveFolder, HasTheIdAndNameThatTheServiceReturns) {
  for (const Folder& folder : std::vector<Folder>{{"id", "name"}, {"", ""}, {"\xC3\xA4", "\xFF"}}) {
    drive_->folder.reset();
    willReturn(itemOf(folder));
    ASSERT_EQ(call(), 0);
    EXPECT_EQ(drive_->folder.folder(), folder);
  }
}

TEST_P(DriveFolder, ConsistsOfSeparateBlocksOfTheStandardAllocator) {
  willReturn(itemOf({"id", "name"}));

  ASSERT_EQ(call(), 0);
  directory* const record = drive_->folder.record;
  std::free(record->id);
  std::free(record->name);
  std::free(record);
  drive_->folder.forget();
}

INSTANTIATE_TEST_SUITE_P(Drives, DriveFolder,
                         Values(DriveOperation{kOpenGoogleDrive, kGetRootDirectory},
                                DriveOperation{kOpenAmazonDrive, kGetRootDirectory},
                                DriveOperation{kOpenGoogleDrive, kCreateDirectory},
                                DriveOperation{kOpenAmazonDrive, kCreateDirectory},
                                DriveOperation{kOpenOneDrive, kCreateDirectory},
                                DriveOperation{kOpenDropbox, kCreateDirectory}),
                         operationName);

class AnyDrive : public testing::TestWithParam<OpenDrive> {
 protected:
  AnyDrive() { drive_->prepare(); }

  const std::unique_ptr<DriveFixture> drive_ = GetParam().open();
};

const auto driveName = [](const auto& instance) { return instance.param.name; };

using DriveListing = AnyDrive;

TEST_P(DriveListing, KeepsTheServicesOrderAndEveryByteAndDuplicates) {
  const std::vector<Folder> folders{{"z", "Z"},    {"", ""},      {"a", "same"},
                                    {"b", "same"}, {"a", "same"}, {"\xC3\xA4\xFF", "\xC3\xA4/"}};
  drive_->willReturnPages({pageOf(folders)});

  ASSERT_EQ(drive_->list(), 0);
  EXPECT_EQ(drive_->folders.folders(), folders);
}

TEST_P(DriveListing, ConsistsOfSeparateBlocksOfTheStandardAllocator) {
  drive_->willReturnPages({pageOf(numberedFolders(0, 2))});

  ASSERT_EQ(drive_->list(), 0);
  auto& folders = drive_->folders;
  ASSERT_EQ(folders.count, 2);
  for (int i = 0; i < 2; ++i) {
    std::free(folders.list[i].id);
    std::free(folders.list[i].name);
  }
  std::free(folders.list);
  folders.forget();
}

using DriveCreation = AnyDrive;

TEST_P(DriveCreation, DoesNotCheckNameAndParent) {
  for (const char* text : {"", "/", "a/b", "..", "it's \"quoted\"", "\xC3\xA4", "\xFF\n"}) {
    SCOPED_TRACE(text);
    drive_->folder.reset();
    drive_->willCreate(itemOf({"id", "name"}));
    EXPECT_EQ(drive_->create(text, text), 0);
    EXPECT_EQ(drive_->createdPath(), std::string(text) + '/' + text);
  }
}

const auto allDrives = Values(kOpenGoogleDrive, kOpenAmazonDrive, kOpenOneDrive, kOpenDropbox);
INSTANTIATE_TEST_SUITE_P(Drives, DriveListing, allDrives, driveName);
INSTANTIATE_TEST_SUITE_P(Drives, DriveCreation, allDrives, driveName);

// Not for Dropbox, whose last page is requested repeatedly.
using PagedDriveListing = AnyDrive;

TEST_P(PagedDriveListing, ContinuesAfterPagesWithoutFolders) {
  const Reply empty = pageOf({}, "next");
  drive_->willReturnPages({empty, pageOf({{"id", "name"}}, "next"), empty, pageOf({})});

  ASSERT_EQ(drive_->list(), 0);
  EXPECT_THAT(drive_->folders.folders(), ElementsAre(Folder{"id", "name"}));
}

TEST_P(PagedDriveListing, LogsAtLevelNineHowManyFoldersAllPagesHold) {
  const VerboseLevel level(9);
  drive_->willReturnPages({pageOf(numberedFolders(0, 2), "next"), pageOf(numberedFolders(2, 1))});

  ASSERT_EQ(drive_->list(), 0);
  ASSERT_THAT(drive_->log.records(), Not(IsEmpty()));
  EXPECT_EQ(drive_->log.records().back(), verboseLine("Got 3 directories. "));
}

TEST_P(PagedDriveListing, LogsAtLevelNineThatThereAreNoFolders) {
  const VerboseLevel level(9);
  drive_->willReturnPages({pageOf({})});

  ASSERT_EQ(drive_->list(), 0);
  ASSERT_THAT(drive_->log.records(), Not(IsEmpty()));
  EXPECT_EQ(drive_->log.records().back(), verboseLine("Got 0 directories. "));
}

TEST_P(PagedDriveListing, LogsNoNumberOfFoldersAtLevelNineIfItFails) {
  const VerboseLevel level(9);
  drive_->willReturnPages({pageOf({{"id", "name"}}, "next"), failure()});

  EXPECT_EQ(drive_->list(), 1);
  EXPECT_EQ(drive_->log.records().back(), errorLine("Failed to list directories. It went wrong."));
}

INSTANTIATE_TEST_SUITE_P(Drives, PagedDriveListing,
                         Values(kOpenGoogleDrive, kOpenAmazonDrive, kOpenOneDrive), driveName);

}  // namespace
}  // namespace UnitTests
