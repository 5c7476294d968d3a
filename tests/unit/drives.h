#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "libvemlo.h"
#include "libvemlo/session.h"
#include "operation_world.h"
#include "support/log_capture.h"
#include "support/mock_amazon_drive_client.h"
#include "support/mock_dropbox_client.h"
#include "support/mock_google_drive_client.h"
#include "support/mock_one_drive_client.h"

// What the tests that all drive services share have to know of each. Beside its functions these are
// how its client is told to expect their requests, how a request to make a folder tells where (the
// parent, a slash and the name), and how that client speaks of folders.
namespace UnitTests {

template <typename Item>
Item namedItem(std::string_view id, std::string_view name) {
  Item item;
  item.id = id;
  item.name = name;
  return item;
}

struct GoogleDrive {
  using Client = TestSupport::MockGoogleDriveClient;
  using Item = CloudStorage::Client::GoogleDrive::Model::FileResource;
  using ListRequest = CloudStorage::Client::GoogleDrive::Model::ListFileResourceRequest;
  using CreateRequest = CloudStorage::Client::GoogleDrive::Model::UploadFileRequest;
  using ListOutcome = Client::ListFileResourceOutcome;
  using ItemOutcome = Client::FileResourceOutcome;

  static constexpr char kName[] = "GoogleDrive";
  static constexpr auto kClient = &session::google_drive_client;
  static constexpr auto getRoot = google_drive_get_root_directory;
  static constexpr auto list = google_drive_list_directory;
  static constexpr auto create = google_drive_create_directory;

  static void prepare(Client& /*client*/) {}
  static auto& expectRoot(Client& client) {
    return EXPECT_CALL(client, getFileResource(testing::_));
  }
  static auto& expectPage(Client& client) {
    return EXPECT_CALL(client, listFileResource(testing::_));
  }
  static auto& expectCreation(Client& client) {
    return EXPECT_CALL(client, uploadFile(testing::_));
  }
  static std::string pathIn(const CreateRequest& request) {
    return request.parents.value() + '/' + request.name.value();
  }

  static Item folder(std::string_view id, std::string_view name) {
    return namedItem<Item>(id, name);
  }
  static CloudStorage::Client::GoogleDrive::Model::ListFileResourceResult page(
      std::vector<Item> items, std::string next) {
    return {std::move(next), std::move(items)};
  }
};

struct AmazonDrive {
  using Client = TestSupport::MockAmazonDriveClient;
  using Item = CloudStorage::Client::AmazonDrive::Model::FileResource;
  using ListRequest = CloudStorage::Client::AmazonDrive::Model::ListFileResourceRequest;
  using CreateRequest = CloudStorage::Client::AmazonDrive::Model::FileRequest;
  using ListOutcome = Client::ListFileResourceOutcome;
  using ItemOutcome = Client::FileResourceOutcome;

  static constexpr char kName[] = "AmazonDrive";
  static constexpr char kContentEndpoint[] = "https://content.example/cdproxy/";
  static constexpr char kMetadataEndpoint[] = "https://metadata.example/drive/v1/";
  static constexpr auto kClient = &session::amazon_drive_client;
  static constexpr auto getRoot = amazon_drive_get_root_directory;
  static constexpr auto list = amazon_drive_list_directory;
  static constexpr auto create = amazon_drive_create_directory;

  // So that no request for them comes first.
  static void prepare(Client& client) {
    client.setEndpoints({kContentEndpoint, kMetadataEndpoint});
  }
  static auto& expectRoot(Client& client) {
    return EXPECT_CALL(client, listFileResource(testing::_));
  }
  static auto& expectPage(Client& client) {
    return EXPECT_CALL(client, listFileResource(testing::_));
  }
  static auto& expectCreation(Client& client) {
    return EXPECT_CALL(client, folderCreate(testing::_));
  }
  static std::string pathIn(const CreateRequest& request) {
    return request.parent.value() + '/' + request.name.value();
  }

  static Item folder(std::string_view id, std::string_view name) {
    return namedItem<Item>(id, name);
  }
  static CloudStorage::Client::AmazonDrive::Model::ListFileResourceResult page(
      std::vector<Item> items, std::string next) {
    return {std::move(items), std::move(next)};
  }
};

struct OneDrive {
  using Client = TestSupport::MockOneDriveClient;
  using Item = CloudStorage::Client::OneDrive::Model::DriveItem;
  using ListRequest = CloudStorage::Client::OneDrive::Model::ListChildrenRequest;
  using CreateRequest = CloudStorage::Client::OneDrive::Model::CreateFolderRequest;
  using ListOutcome = Client::ListChildrenOutcome;
  using ItemOutcome = Client::DriveItemOutcome;

  static constexpr char kName[] = "OneDrive";
  static constexpr auto kClient = &session::one_drive_client;
  static constexpr auto getRoot = one_drive_get_root_directory;
  static constexpr auto list = one_drive_list_directory;
  static constexpr auto create = one_drive_create_directory;

  // Each listing asks for the drive's type first.
  static void prepare(Client& client) {
    EXPECT_CALL(client, getDriveMetadata(testing::_))
        .WillRepeatedly(testing::Return(CloudStorage::Client::OneDrive::Model::DriveMetadata{}));
  }
  static auto& expectRoot(Client& client) { return EXPECT_CALL(client, getDriveItem(testing::_)); }
  static auto& expectPage(Client& client) { return EXPECT_CALL(client, listChildren(testing::_)); }
  static auto& expectCreation(Client& client) {
    return EXPECT_CALL(client, createFolder(testing::_));
  }
  static std::string pathIn(const CreateRequest& request) {
    return request.parentItemId.value() + '/' + request.name.value();
  }

  static Item folder(std::string_view id, std::string_view name) {
    return namedItem<Item>(id, name);
  }
  static CloudStorage::Client::OneDrive::Model::ListChildrenResult page(std::vector<Item> items,
                                                                        std::string next) {
    return {std::move(items), std::move(next)};
  }
};

// Has no function for its root folder.
struct Dropbox {
  using Client = TestSupport::MockDropboxClient;
  using Item = CloudStorage::Client::Dropbox::Model::Metadata;
  using ListRequest = CloudStorage::Client::Dropbox::Model::ListFolderRequest;
  using CreateRequest = CloudStorage::Client::Dropbox::Model::CreateFolderRequest;
  using ListOutcome = Client::ListFolderOutcome;
  using ItemOutcome = Client::MetadataOutcome;

  static constexpr char kName[] = "Dropbox";
  static constexpr auto kClient = &session::dropbox_client;
  static constexpr auto list = dropbox_list_directory;
  static constexpr auto create = dropbox_create_directory;

  static void prepare(Client& /*client*/) {}
  static auto& expectPage(Client& client) { return EXPECT_CALL(client, listFolder(testing::_)); }
  static auto& expectCreation(Client& client) {
    return EXPECT_CALL(client, createFolder(testing::_));
  }
  static std::string pathIn(const CreateRequest& request) { return request.path.value(); }

  static Item folder(std::string_view path, std::string_view name) {
    Item item;
    item.tag = "folder";
    item.name = name;
    item.id = "not the path";
    item.pathLower = "nor this";
    item.path = path;
    return item;
  }
  // More entries follow if there is a `cursor`.
  static CloudStorage::Client::Dropbox::Model::ListFolderResult page(const std::vector<Item>& items,
                                                                     std::string cursor) {
    const bool hasMore = !cursor.empty();
    return {{items.begin(), items.end()}, std::move(cursor), hasMore};
  }
};

/// What a record of a folder is made of.
struct Folder {
  std::string id;
  std::string name;

  bool operator==(const Folder& other) const { return id == other.id && name == other.name; }
};

inline void PrintTo(const Folder& folder, std::ostream* out) {
  *out << '"' << folder.name << "\" (" << folder.id << ')';
}

/// `count` folders from number `first` on, whose ids and names tell them apart.
inline std::vector<Folder> numberedFolders(int first, int count) {
  std::vector<Folder> folders;
  for (int i = first; i < first + count; ++i) {
    folders.push_back({"id " + std::to_string(i), "name " + std::to_string(i)});
  }
  return folders;
}

/// The folders as the service's client tells of them, in texts that last as long as the page.
template <typename Drive>
class FolderPage {
 public:
  explicit FolderPage(const std::vector<Folder>& folders) {
    std::vector<std::string> texts;
    for (const Folder& folder : folders) texts.insert(texts.end(), {folder.id, folder.name});
    const PageTexts page(texts);
    page_ = page.page();
    for (std::size_t i = 0; i < texts.size(); i += 2) {
      items_.push_back(Drive::folder(page.views()[i], page.views()[i + 1]));
    }
  }

  std::vector<typename Drive::Item>& items() { return items_; }

  auto followedBy(std::string next) const {
    auto result = Drive::page(items_, std::move(next));
    if constexpr (!std::is_same_v<Drive, Dropbox>) result.page = page_;  // Dropbox's copies them
    return result;
  }
  typename Drive::Item single() const {
    auto item = items_.at(0);
    item.page = page_;
    return item;
  }

 private:
  std::shared_ptr<const std::string> page_;
  std::vector<typename Drive::Item> items_;
};

/// An answer that is made anew when its turn comes, so that its texts are gone as soon as the
/// library lets go of them.
template <typename Drive>
auto pageOf(std::vector<Folder> folders, std::string next = {}) {
  return [folders = std::move(folders), next = std::move(next)]() ->
         typename Drive::ListOutcome { return FolderPage<Drive>(folders).followedBy(next); };
}

template <typename Drive>
auto itemOf(Folder folder) {
  return [folder = std::move(folder)]() ->
         typename Drive::ItemOutcome { return FolderPage<Drive>({folder}).single(); };
}

/// What a request for the root folder is answered with: Amazon Drive's is a listing.
template <typename Drive>
auto rootOf(Folder folder) {
  if constexpr (std::is_same_v<Drive, AmazonDrive>) {
    return pageOf<Drive>({std::move(folder)});
  } else {
    return itemOf<Drive>(std::move(folder));
  }
}

/// A failure of which nothing but the message tells what happened.
inline CloudStorage::Client::Error failure() {
  return {CloudStorage::Client::CoreErrors::TemporaryFailure,
          "exceptionName",
          "It went wrong.",
          {},
          true,
          503};
}

/// A session whose client is a substitute that fails the test on any call that it was not told to
/// expect.
template <typename Drive>
class DriveTest : public testing::Test {
 protected:
  DriveTest() {
    handle_.get()->*Drive::kClient =
        std::make_shared<testing::StrictMock<typename Drive::Client>>();
  }

  typename Drive::Client& client() {
    return static_cast<typename Drive::Client&>(*(handle_.get()->*Drive::kClient));
  }

  OwnedSession handle_{new session};
  TestSupport::LogCapture log_;
};

}  // namespace UnitTests
