#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "CloudStorage/Export.h"
#include "CloudStorage/Util/IsoTime.h"

namespace CloudStorage::Client::AmazonDrive::Model {

/// A node: a file or a folder. What the service did not say is empty.
struct CLOUDSTORAGE_API FileResource {
  std::string_view kind;
  std::string_view id;
  /// The root folder has none.
  std::string_view name;
  std::string_view mimeType;
  bool trashed = false;
  Util::IsoTime createdTime;
  Util::IsoTime modifiedTime;
  std::string_view md5Checksum;
  std::uint64_t size = 0;
  std::vector<std::string_view> parents;
  /// The received answer, in which the texts lie; they last as long as it does. Null in a list,
  /// whose own `page` keeps it.
  std::shared_ptr<const void> page{};

  /// All of it on one line, for logs.
  std::string toString() const;
};

}  // namespace CloudStorage::Client::AmazonDrive::Model
