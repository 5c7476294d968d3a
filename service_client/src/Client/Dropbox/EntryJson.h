#pragma once

#include "CloudStorage/Client/Dropbox/EntryList.h"
#include "Util/Json.h"

namespace CloudStorage::Client::Dropbox::Model {

/// Reads `object` into `entry`, whose texts become views into the body that contains `object`. The
/// path is empty if there is none that the service would accept.
void readEntry(Util::Json::Object object, Metadata& entry);

}  // namespace CloudStorage::Client::Dropbox::Model
