#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace CloudStorage::Client::AzureSSB::Model {

struct Container {
  std::string_view name;
  /// HTTP date as the service wrote it.
  std::string_view lastModified;
  std::string_view eTag;
};

/// One page, in the service's order. It may be short, even empty, and still not be the last.
struct ListContainerResult {
  std::vector<Container> containers;
  /// Asks for the next page; empty on the last one.
  std::string nextMarker;
  /// The received page. The containers' texts lie in it, and last as long as it does.
  std::shared_ptr<const std::string> page{};
};

}  // namespace CloudStorage::Client::AzureSSB::Model
