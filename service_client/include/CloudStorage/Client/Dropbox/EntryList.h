#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "CloudStorage/Util/IsoTime.h"

namespace CloudStorage::Client::Dropbox::Model {

/// The metadata that only files have.
struct FileMetadata {
  Util::IsoTime clientModified;
  Util::IsoTime serverModified;
  std::int64_t size = 0;
  std::string_view rev;
};

/// A file, a folder, or a deleted entry. Members that the service did not send are empty.
struct Metadata {
  /// "folder", "file" or "deleted".
  std::string_view tag;
  std::string_view name;
  std::string_view id;
  /// Empty if the service sent none of it.
  std::optional<FileMetadata> file;
  std::string_view pathLower;
  /// The path for display and for requests: in the user's spelling if the service sent it,
  /// otherwise in lower case.
  std::string_view path;
  /// Holds the texts, which are views. Null in a list, which holds a copy of them.
  std::shared_ptr<const void> storage{};
};

/// The entries of a folder, for sequential reading. They are stored in a compact encoding: a folder
/// may have very many entries, and the first access to new memory costs more than the encoding.
class EntryList {
 public:
  class ConstIterator;

  EntryList() = default;
  template <typename Iterator>
  EntryList(Iterator first, Iterator last) {
    for (; first != last; ++first) push_back(*first);
  }
  EntryList(EntryList&&) = default;
  EntryList& operator=(EntryList&&) = default;
  EntryList(const EntryList&) = delete;
  EntryList& operator=(const EntryList&) = delete;

  /// Adds an entry and copies its texts.
  void push_back(const Metadata& entry) {
    Block& block = blockWithRoom(mostBytesFor(entry));
    char* const start = block.bytes.get() + block.size;
    block.size += static_cast<std::size_t>(pack(entry, start) - start);
    ++block.entries;
  }

  /// Adds copies of the entries of `other`.
  void append(const EntryList& other) {
    for (const Block& added : other.blocks_) {
      Block& block = blockWithRoom(added.size);
      std::memcpy(block.bytes.get() + block.size, added.bytes.get(), added.size);
      block.size += added.size;
      block.entries += added.entries;
    }
  }

  std::size_t size() const {
    std::size_t entries = 0;
    for (const Block& block : blocks_) entries += block.entries;
    return entries;
  }
  bool empty() const { return blocks_.empty(); }
  /// The texts of the entries remain valid as long as the list exists.
  ConstIterator begin() const;
  ConstIterator end() const;

 private:
  struct Block {
    std::unique_ptr<char[]> bytes;
    std::size_t capacity = 0;
    std::size_t size = 0;
    std::size_t entries = 0;
  };

  // The flags in the first byte of an entry. Values that they imply are not stored.
  static constexpr unsigned kIsFolder = 1;
  static constexpr unsigned kIsFile = 2;
  static constexpr unsigned kNameEndsPath = 4;
  static constexpr unsigned kPathIsLowerCase = 8;

  static constexpr std::string_view kFolder = "folder";

  static constexpr std::size_t kSmallestBlock = std::size_t{16} * 1024;
  static constexpr std::size_t kLargestBlock = std::size_t{1024} * 1024;

  Block& blockWithRoom(std::size_t room) {
    if (blocks_.empty() || blocks_.back().capacity - blocks_.back().size < room) {
      const std::size_t next = blocks_.empty() ? kSmallestBlock : 2 * blocks_.back().capacity;
      const std::size_t capacity = std::max(room, std::min(next, kLargestBlock));
      blocks_.push_back({std::unique_ptr<char[]>(new char[capacity]), capacity});
    }
    return blocks_.back();
  }

  static bool endsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
  }

  static std::size_t mostBytesFor(const Metadata& entry) {
    constexpr std::size_t kMostNumbers = 9;
    constexpr std::size_t kLongestNumber = 10;
    std::size_t texts = entry.tag.size() + entry.name.size() + entry.id.size() +
                        entry.pathLower.size() + entry.path.size();
    if (entry.file) {
      texts += entry.file->clientModified.text().size() + entry.file->serverModified.text().size() +
               entry.file->rev.size();
    }
    return 1 + kMostNumbers * kLongestNumber + texts;
  }

  // Seven bits per byte, the lowest first; the eighth bit is set if more bytes follow.
  static char* packNumber(std::uint64_t number, char* to) {
    for (; number > 127; number >>= 7U) *to++ = static_cast<char>(number | 128U);
    *to++ = static_cast<char>(number);
    return to;
  }

  static char* packText(std::string_view text, char* to) {
    to = packNumber(text.size(), to);
    if (!text.empty()) std::memcpy(to, text.data(), text.size());
    return to + text.size();
  }

  static char* pack(const Metadata& entry, char* to) {
    const unsigned flags = (entry.tag == kFolder ? kIsFolder : 0) | (entry.file ? kIsFile : 0) |
                           (endsWith(entry.path, entry.name) ? kNameEndsPath : 0) |
                           (entry.pathLower == entry.path ? kPathIsLowerCase : 0);
    *to++ = static_cast<char>(flags);
    to = packText(entry.path, to);
    to =
        (flags & kNameEndsPath) != 0 ? packNumber(entry.name.size(), to) : packText(entry.name, to);
    if ((flags & kPathIsLowerCase) == 0) to = packText(entry.pathLower, to);
    to = packText(entry.id, to);
    if ((flags & kIsFolder) == 0) to = packText(entry.tag, to);
    if (!entry.file) return to;
    to = packText(entry.file->clientModified.text(), to);
    to = packText(entry.file->serverModified.text(), to);
    to = packText(entry.file->rev, to);
    return packNumber(static_cast<std::uint64_t>(entry.file->size), to);
  }

  std::vector<Block> blocks_;  // none of them empty
};

/// Holds the current entry, unpacked, until the iterator advances.
class EntryList::ConstIterator {
 public:
  const Metadata& operator*() const { return entry_; }
  ConstIterator& operator++() {
    if (next_ == block_->bytes.get() + block_->size) {
      enter(block_ + 1);
    } else {
      unpack();
    }
    return *this;
  }
  bool operator!=(const ConstIterator& other) const { return next_ != other.next_; }

 private:
  friend class EntryList;

  ConstIterator(const Block* block, const Block* end) : end_(end) { enter(block); }

  void enter(const Block* block) {
    block_ = block;
    next_ = block == end_ ? nullptr : block->bytes.get();
    if (next_ != nullptr) unpack();
  }

  std::uint64_t unpackNumber() {
    std::uint64_t number = 0;
    for (unsigned shift = 0;; shift += 7) {
      const auto byte = static_cast<unsigned char>(*next_++);
      number |= std::uint64_t{byte & 127U} << shift;
      if (byte < 128) return number;
    }
  }

  std::string_view unpackText() {
    const std::size_t size = unpackNumber();
    return {std::exchange(next_, next_ + size), size};
  }

  void unpack() {
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): null only at the end
    const auto flags = static_cast<unsigned char>(*next_++);
    entry_.path = unpackText();
    if ((flags & kNameEndsPath) != 0) {
      entry_.name = entry_.path.substr(entry_.path.size() - unpackNumber());
    } else {
      entry_.name = unpackText();
    }
    entry_.pathLower = (flags & kPathIsLowerCase) != 0 ? entry_.path : unpackText();
    entry_.id = unpackText();
    entry_.tag = (flags & kIsFolder) != 0 ? kFolder : unpackText();
    entry_.file.reset();
    if ((flags & kIsFile) != 0) {
      FileMetadata& file = entry_.file.emplace();
      file.clientModified = Util::IsoTime(unpackText());
      file.serverModified = Util::IsoTime(unpackText());
      file.rev = unpackText();
      file.size = static_cast<std::int64_t>(unpackNumber());
    }
  }

  const Block* block_ = nullptr;
  const Block* end_;
  Metadata entry_;
  const char* next_ = nullptr;  // past the current entry; null at the end
};

inline EntryList::ConstIterator EntryList::begin() const {
  return {blocks_.data(), blocks_.data() + blocks_.size()};
}

inline EntryList::ConstIterator EntryList::end() const {
  const Block* const end = blocks_.data() + blocks_.size();
  return {end, end};
}

}  // namespace CloudStorage::Client::Dropbox::Model
