#pragma once

#include <cstddef>
#include <string>

#include "CloudStorage/Client/Dropbox/EntryList.h"
#include "CloudStorage/Client/SerializableWSRequest.h"
#include "CloudStorage/Util/Field.h"
#include "CloudStorage/Util/IsoTime.h"

/// Requests and results of the Dropbox API v2.
namespace CloudStorage::Client::Dropbox {

/// Base of the requests, whose bodies are JSON.
class CLOUDSTORAGE_API DropboxRequest : public SerializableWSRequest {
 protected:
  DropboxRequest() : SerializableWSRequest("application/json") {}
};

namespace Model {

/// The entries of a folder. With a cursor, those that follow an earlier response; no other
/// parameter is then sent.
class CLOUDSTORAGE_API ListFolderRequest : public DropboxRequest {
 public:
  /// Empty for the root folder.
  Util::Field<std::string> path;
  Util::Field<bool> recursive;
  Util::Field<bool> includeMediaInfo;
  Util::Field<bool> includeDeleted;
  Util::Field<bool> includeHasExplicitSharedMembers;
  Util::Field<std::string> cursor;

  bool isContinuation() const { return !cursor.value().empty(); }

  std::string serializePayload() const override;
};

/// Creates a folder, and any missing parent folders.
class CLOUDSTORAGE_API CreateFolderRequest : public DropboxRequest {
 public:
  Util::Field<std::string> path;
  /// If true, a folder whose name is taken gets another name.
  Util::Field<bool> autorename;

  std::string serializePayload() const override;
};

struct ListFolderResult {
  /// In the service's order.
  EntryList entries;
  /// Where a continuation begins; every response contains one.
  std::string cursor;
  bool hasMore = false;

  /// How many entries the response had.
  std::size_t entryCount() const { return entries.size(); }
  /// Whether the service has more entries than these.
  bool isPartial() const { return hasMore; }
};

}  // namespace Model
}  // namespace CloudStorage::Client::Dropbox
