#pragma once

#include <string>
#include <vector>

namespace CloudStorage::Client::S3::Model {

struct Bucket {
  std::string name;
  /// ISO 8601 text as the service wrote it; empty if it wrote none.
  std::string creationDate;
};

/// All buckets of the account, in the service's order.
struct ListBucketsResult {
  std::vector<Bucket> buckets;
};

}  // namespace CloudStorage::Client::S3::Model
