#pragma once

#include <string>

#include "CloudStorage/Client/OneDrive/OneDriveRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::OneDrive::Model {

/// The metadata of one item.
class CLOUDSTORAGE_API GetDriveItemRequest : public OneDriveRequest {
 public:
  /// An id, or the alias "root".
  Util::Field<std::string> itemId;
  /// Absent: the user's own drive.
  Util::Field<std::string> driveId;

  std::string serializePayload() const override { return {}; }
};

}  // namespace CloudStorage::Client::OneDrive::Model
