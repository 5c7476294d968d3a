#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace CloudStorage::Client::S3::Model {

/// All texts as the service wrote them.
struct Object {
  std::string_view key;
  /// ISO 8601.
  std::string_view lastModified;
  std::string_view eTag;
  /// Decimal number of bytes.
  std::string_view size;
  std::string_view storageClass;
};

/// One page, in the service's order.
struct ListObjectsV2Result {
  std::vector<Object> objects;
  /// Each with its delimiter at the end.
  std::vector<std::string_view> commonPrefixes;
  /// The received page. The texts above lie in it, and last as long as it does.
  std::shared_ptr<const std::string> page{};
};

}  // namespace CloudStorage::Client::S3::Model
