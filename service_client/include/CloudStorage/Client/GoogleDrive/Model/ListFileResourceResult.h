#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Client/GoogleDrive/Model/FileResource.h"

namespace CloudStorage::Client::GoogleDrive::Model {

/// One page in the service's order. It may be short, even empty, and still not be the last.
struct ListFileResourceResult {
  /// Asks for the next page; empty on the last one.
  std::string nextPageToken;
  /// With id and name only.
  std::vector<FileResource> files;
  /// The received page. The texts of the files lie in it, and last as long as it does.
  std::shared_ptr<const void> page{};
};

}  // namespace CloudStorage::Client::GoogleDrive::Model
