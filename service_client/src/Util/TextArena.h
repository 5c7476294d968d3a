#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace CloudStorage::Util {

/// Keeps many short texts with hardly more memory than they have bytes.
class TextArena {
 public:
  /// A copy of `text` that lasts as long as this object.
  std::string_view keep(std::string_view text) {
    if (text.empty()) return {};
    if (blocks_.empty() || blocks_.back().capacity() - blocks_.back().size() < text.size()) {
      blocks_.emplace_back().reserve(std::max(kBlockSize, text.size()));
    }
    // Never grows beyond what is reserved, and never is so short that it would lie within the
    // string object: what is handed out stays where it is.
    std::string& block = blocks_.back();
    const std::size_t start = block.size();
    block.append(text);
    return std::string_view(block).substr(start);
  }

 private:
  static constexpr std::size_t kBlockSize = 16384;

  std::vector<std::string> blocks_;
};

}  // namespace CloudStorage::Util
