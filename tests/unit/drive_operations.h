#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "amazon_drive_session_fixture.h"
#include "dropbox_session_fixture.h"
#include "google_drive_session_fixture.h"
#include "one_drive_session_fixture.h"

// The operations on folders of all drives, for the tests of what they have in common.
namespace UnitTests {

struct OpenDrive {
  std::string name;
  std::unique_ptr<DriveFixture> (*open)();
};

template <typename Fixture>
std::unique_ptr<DriveFixture> openDrive() {
  return std::make_unique<Fixture>();
}

inline const OpenDrive kOpenGoogleDrive{"GoogleDrive", openDrive<GoogleDriveFixture>};
inline const OpenDrive kOpenAmazonDrive{"AmazonDrive", openDrive<AmazonDriveFixture>};
inline const OpenDrive kOpenOneDrive{"OneDrive", openDrive<OneDriveFixture>};
inline const OpenDrive kOpenDropbox{"Dropbox", openDrive<DropboxFixture>};

struct FolderOperation {
  std::string name;
  /// What precedes the message of the error in the log.
  std::string failureText;
  void (*willReturn)(DriveFixture& drive, Reply reply);
  int (*call)(DriveFixture& drive);
};

inline const FolderOperation kGetRootDirectory{
    "GetRootDirectory", "Failed to get root directory. ",
    [](DriveFixture& drive, Reply reply) { drive.willReturnRoot(std::move(reply)); },
    [](DriveFixture& drive) { return drive.getRoot(); }};

inline const FolderOperation kListDirectory{
    "ListDirectory", "Failed to list directories. ",
    [](DriveFixture& drive, Reply reply) { drive.willReturnPages({std::move(reply)}); },
    [](DriveFixture& drive) { return drive.list(); }};

inline const FolderOperation kCreateDirectory{
    "CreateDirectory", "Failed to create directory. ",
    [](DriveFixture& drive, Reply reply) { drive.willCreate(std::move(reply)); },
    [](DriveFixture& drive) { return drive.create(); }};

struct DriveOperation {
  OpenDrive drive;
  FolderOperation operation;

  std::string name() const { return drive.name + operation.name; }
};

inline std::vector<DriveOperation> allDriveOperations() {
  std::vector<DriveOperation> all;
  for (const OpenDrive& drive : {kOpenGoogleDrive, kOpenAmazonDrive, kOpenOneDrive}) {
    all.push_back({drive, kGetRootDirectory});
  }
  for (const OpenDrive& drive : {kOpenGoogleDrive, kOpenAmazonDrive, kOpenOneDrive, kOpenDropbox}) {
    all.push_back({drive, kListDirectory});
    all.push_back({drive, kCreateDirectory});
  }
  return all;
}

}  // namespace UnitTests
