#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace CloudStorage::Client::S3::Model {

struct Bucket {
  std::string_view name;
  /// ISO 8601 text as the service wrote it; empty if it wrote none.
  std::string_view creationDate;
};

/// All buckets of the account, in the service's order.
struct ListBucketsResult {
  std::vector<Bucket> buckets;
  /// The received page. The texts above lie in it, and last as long as it does.
  std::shared_ptr<const std::string> page{};
};

}  // namespace CloudStorage::Client::S3::Model
