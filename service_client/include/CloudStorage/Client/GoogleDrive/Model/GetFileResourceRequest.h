#pragma once

#include <string>

#include "CloudStorage/Client/GoogleDrive/GoogleDriveRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::GoogleDrive::Model {

/// The metadata of one file or folder.
class CLOUDSTORAGE_API GetFileResourceRequest : public GoogleDriveRequest {
 public:
  /// An id, or the alias "root".
  Util::Field<std::string> fileId;

  std::string serializePayload() const override { return {}; }
  void addQueryStringParameters(Http::URI& uri) const override;
};

}  // namespace CloudStorage::Client::GoogleDrive::Model
