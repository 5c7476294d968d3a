#include "Client/S3/S3ListingPages.h"

#include <numeric>
#include <utility>

namespace CloudStorage::Client::S3 {

void S3ListingPages::add(const Model::ListObjectsV2Result& page) {
  const auto& prefixes = page.commonPrefixes;
  std::string& text = texts_->emplace_back();
  // The views need a text that does not move.
  text.reserve(std::accumulate(
      prefixes.begin(), prefixes.end(), std::size_t{0},
      [](std::size_t size, std::string_view prefix) { return size + prefix.size(); }));
  for (const std::string_view prefix : prefixes) {
    if (known_.count(prefix) != 0) continue;
    const char* const begin = text.data() + text.size();
    text += prefix;
    result_.commonPrefixes.emplace_back(begin, prefix.size());
    known_.insert(result_.commonPrefixes.back());
  }
  result_.received += page.received;
}

Model::ListObjectsV2Result S3ListingPages::result() && {
  result_.storage = std::move(texts_);
  return std::move(result_);
}

}  // namespace CloudStorage::Client::S3
