#pragma once

#include <string>

#include "CloudStorage/Client/Dropbox/DropboxRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::Dropbox::Model {

/// The entries of a folder; with a cursor, those that follow an earlier answer, and nothing else is
/// sent then.
class CLOUDSTORAGE_API ListFolderRequest : public DropboxRequest {
 public:
  /// Empty: the root.
  Util::Field<std::string> path;
  Util::Field<bool> recursive;
  Util::Field<bool> includeMediaInfo;
  Util::Field<bool> includeDeleted;
  Util::Field<bool> includeHasExplicitSharedMembers;
  Util::Field<std::string> cursor;

  bool isContinuation() const { return !cursor.value().empty(); }

  std::string serializePayload() const override;
};

}  // namespace CloudStorage::Client::Dropbox::Model
