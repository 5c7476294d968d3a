#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace CloudStorage::Client::AzureSSB::Model {

struct Blob {
  std::string_view name;
};

struct BlobPrefix {
  /// With its delimiter at the end.
  std::string_view name;
};

/// One page, each list in the service's order. It may be short, even empty, and still not be the
/// last.
struct ListBlobResult {
  /// Asks for the next page; empty on the last one.
  std::string nextMarker;
  std::vector<Blob> blobs;
  std::vector<BlobPrefix> blobPrefixes;
  /// The received page. The names lie in it, and last as long as it does.
  std::shared_ptr<const std::string> page{};
};

}  // namespace CloudStorage::Client::AzureSSB::Model
