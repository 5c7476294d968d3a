#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string_view>

#include "CloudStorage/Util/IsoTime.h"

namespace CloudStorage::Client::Dropbox::Model {

/// What there is to say about files alone.
struct FileFacts {
  Util::IsoTime clientModified;
  Util::IsoTime serverModified;
  std::int64_t size = 0;
  std::string_view rev;
};

/// A file, a folder, or what is left of a deleted one. What the service did not say is empty.
struct Metadata {
  /// "folder", "file" or "deleted".
  std::string_view tag;
  std::string_view name;
  std::string_view id;
  /// Absent if the service said none of it.
  std::optional<FileFacts> file;
  std::string_view pathLower;
  /// The path to show and to use: in the user's spelling, or else in lower case.
  std::string_view path;
  /// Keeps the texts; they last as long as it does. Null in a list, which keeps them itself.
  std::shared_ptr<const void> page{};
};

}  // namespace CloudStorage::Client::Dropbox::Model
