#pragma once

#include <string>

#include "CloudStorage/Client/Dropbox/DropboxRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::Dropbox::Model {

/// Creates a folder, and its parents where they are missing.
class CLOUDSTORAGE_API CreateFolderRequest : public DropboxRequest {
 public:
  Util::Field<std::string> path;
  /// True: under another name if this one is taken.
  Util::Field<bool> autorename;

  std::string serializePayload() const override;
};

}  // namespace CloudStorage::Client::Dropbox::Model
