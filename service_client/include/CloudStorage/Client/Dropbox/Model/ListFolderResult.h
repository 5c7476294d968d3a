#pragma once

#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Client/Dropbox/Model/Metadata.h"
#include "CloudStorage/Util/ChunkedList.h"

namespace CloudStorage::Client::Dropbox::Model {

/// Entries in the service's order.
struct ListFolderResult {
  Util::ChunkedList<Metadata> entries;
  /// Where a continuation would begin; there is one on every answer.
  std::string cursor;
  bool hasMore = false;
  /// Keep the texts of the entries, which last as long as they do.
  std::vector<std::shared_ptr<const void>> pages{};
};

}  // namespace CloudStorage::Client::Dropbox::Model
