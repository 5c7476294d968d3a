#pragma once

#include <string>

#include "CloudStorage/Client/OneDrive/OneDriveRequest.h"
#include "CloudStorage/Util/Field.h"

namespace CloudStorage::Client::OneDrive::Model {

/// Creates a folder; not if the name is taken.
class CLOUDSTORAGE_API CreateFolderRequest : public OneDriveRequest {
 public:
  Util::Field<std::string> parentItemId;
  /// Absent: the user's own drive.
  Util::Field<std::string> driveId;
  Util::Field<std::string> name;

  std::string serializePayload() const override;
};

}  // namespace CloudStorage::Client::OneDrive::Model
