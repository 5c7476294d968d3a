#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "CloudStorage/Util/IsoTime.h"

namespace CloudStorage::Client::GoogleDrive::Model {

/// A file or a folder. What the service did not say is empty.
struct FileResource {
  std::string_view kind;
  std::string_view id;
  std::string_view name;
  std::string_view mimeType;
  bool trashed = false;
  Util::IsoTime createdTime;
  Util::IsoTime modifiedTime;
  std::string_view md5Checksum;
  std::vector<std::string_view> parents;
  /// The received answer, in which the texts lie; they last as long as it does. Null in a list,
  /// whose own `page` keeps it.
  std::shared_ptr<const void> page{};
};

}  // namespace CloudStorage::Client::GoogleDrive::Model
