#pragma once

#include <string>

#include "CloudStorage/Client/OneDrive/OneDriveRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::OneDrive::Model {

/// What a drive is.
class CLOUDSTORAGE_API GetDriveMetadataRequest : public OneDriveRequest {
 public:
  /// Absent: the user's own drive.
  Util::Field<std::string> driveId;

  std::string serializePayload() const override { return {}; }
};

}  // namespace CloudStorage::Client::OneDrive::Model
