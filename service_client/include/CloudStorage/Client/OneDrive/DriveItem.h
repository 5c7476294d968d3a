#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "CloudStorage/Export.h"
#include "CloudStorage/Util/IsoTime.h"

namespace CloudStorage::Client::OneDrive::Model {

/// The location of an item. Here and below, members that the service did not send are empty or 0.
struct CLOUDSTORAGE_API ItemReference {
  std::string_view driveId;
  std::string_view id;
  std::string_view path;
  std::string_view name;
  std::string_view shareId;

  std::string toString() const;
};

struct CLOUDSTORAGE_API FolderFacet {
  std::int64_t childCount = 0;

  std::string toString() const;
};

struct CLOUDSTORAGE_API Hashes {
  std::string_view crc32Hash;
  std::string_view sha1Hash;
  std::string_view quickXorHash;

  std::string toString() const;
};

struct CLOUDSTORAGE_API FileFacet {
  std::string_view mimeType;
  Hashes hashes;
  bool processingMetadata = false;

  std::string toString() const;
};

/// The times of an item in the user's own file system.
struct CLOUDSTORAGE_API FileSystemInfo {
  Util::IsoTime createdDateTime;
  Util::IsoTime lastModifiedDateTime;

  std::string toString() const;
};

/// A shared item as it is in its owner's drive.
struct CLOUDSTORAGE_API RemoteItem {
  std::string_view id;
  std::int64_t size = 0;
  ItemReference parentReference;
  FolderFacet folder;
  FileFacet file;
  bool isFolder = false;
  FileSystemInfo fileSystemInfo;

  std::string toString() const;
};

/// A file, a folder, or an item that another user shares. Facets that items of a listing rarely
/// have are allocated separately, because a listing may hold very many items; they are null if the
/// service did not send them.
struct CLOUDSTORAGE_API DriveItem {
  std::string_view id;
  std::string_view name;
  std::string_view eTag;
  std::string_view cTag;
  Util::IsoTime createdDateTime;
  Util::IsoTime lastModifiedDateTime;
  std::int64_t size = 0;
  std::shared_ptr<const ItemReference> parentReference{};
  FolderFacet folder;
  std::shared_ptr<const FileFacet> file{};
  bool deleted = false;
  /// The drive's root folder.
  bool root = false;
  bool isFolder = false;
  std::shared_ptr<const FileSystemInfo> fileSystemInfo{};
  std::shared_ptr<const RemoteItem> remoteItem{};
  /// Holds the texts, which are views. Null in a list, where the list's own storage holds them.
  std::shared_ptr<const void> storage{};

  /// All members on one line, for logs.
  std::string toString() const;
};

}  // namespace CloudStorage::Client::OneDrive::Model
