#pragma once

#include "CloudStorage/Client/OneDrive/DriveItem.h"
#include "Util/Json.h"

namespace CloudStorage::Client::OneDrive::Model {

/// Reads `object` into `item`, whose texts become views into the body that contains `object`.
void readItem(Util::Json::Object object, DriveItem& item);

}  // namespace CloudStorage::Client::OneDrive::Model
