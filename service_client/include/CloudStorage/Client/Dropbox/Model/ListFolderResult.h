#pragma once

#include <string>

#include "CloudStorage/Client/Dropbox/Model/EntryList.h"

namespace CloudStorage::Client::Dropbox::Model {

struct ListFolderResult {
  /// In the service's order.
  EntryList entries;
  /// Where a continuation would begin; there is one on every answer.
  std::string cursor;
  bool hasMore = false;
};

}  // namespace CloudStorage::Client::Dropbox::Model
