#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Client/OneDrive/Model/DriveItem.h"

namespace CloudStorage::Client::OneDrive::Model {

/// One page in the service's order. It may be short, even empty, and still not be the last.
struct ListChildrenResult {
  /// With id, name, root, folder and remoteItem only.
  std::vector<DriveItem> items;
  /// Asks for the next page; empty on the last one.
  std::string nextToken;
  /// The received page. The texts of the items lie in it, and last as long as it does.
  std::shared_ptr<const void> page{};
};

}  // namespace CloudStorage::Client::OneDrive::Model
