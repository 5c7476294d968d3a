#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Client/AmazonDrive/Model/FileResource.h"

namespace CloudStorage::Client::AmazonDrive::Model {

/// One page in the service's order. It may be short, even empty, and still not be the last.
struct ListFileResourceResult {
  std::vector<FileResource> files;
  /// Asks for the next page; empty on the last one.
  std::string nextToken;
  /// The received page. The texts of the nodes lie in it, and last as long as it does.
  std::shared_ptr<const void> page{};
};

}  // namespace CloudStorage::Client::AmazonDrive::Model
