#pragma once

#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_set>

#include "CloudStorage/Client/S3/Model.h"

namespace CloudStorage::Client::S3 {

/// The common prefixes of the pages of a listing, each once: some stores repeat a prefix on the
/// next page. Copies them, because the keys beside them may take many times their memory.
class S3ListingPages {
 public:
  void add(const Model::ListObjectsV2Result& page);

  /// All pages as one result, without objects.
  Model::ListObjectsV2Result result() &&;

 private:
  // One text for each page.
  std::shared_ptr<std::deque<std::string>> texts_ = std::make_shared<std::deque<std::string>>();
  std::unordered_set<std::string_view> known_;
  Model::ListObjectsV2Result result_;
};

}  // namespace CloudStorage::Client::S3
