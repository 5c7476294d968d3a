#pragma once

#include <libvemlo.h>
#include <libvemlo_service_client.h>

#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <string>
#include <string_view>
#include <utility>

namespace vemlo {

/// A folder. Those of object stores have no id: they are identified by their name, the full key
/// prefix including its trailing "/".
struct Folder {
  std::string name;
  std::string id;
};

/// A folder in a listing, valid as long as the listing.
class FolderEntry {
 public:
  explicit FolderEntry(const directory& entry) noexcept : entry_(&entry) {}

  std::string_view name() const noexcept { return entry_->name; }
  std::string_view id() const noexcept {
    return entry_->id == nullptr ? std::string_view() : entry_->id;
  }
  /// A copy that does not depend on the listing.
  Folder folder() const { return {std::string(name()), std::string(id())}; }

 private:
  const directory* entry_;
};

namespace detail {

inline void release(directory* entries, int count) noexcept {
  if (count > 0) {
    free_diretories(entries, count);
  } else {
    std::free(entries);  // an empty listing may still be an array
  }
}

inline void release(char** names, int count) noexcept { free_buckets(names, count); }

}  // namespace detail

/// What a listing call has found: a range of `Entry`, in the service's order. It holds the records
/// of the C interface; an `Entry` is made where it is read.
template <typename Record, typename Entry>
class Listing {
 public:
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = Entry;
    using difference_type = std::ptrdiff_t;
    using reference = Entry;
    /// Holds the entry that `->` refers to.
    struct pointer {  // NOLINT(readability-identifier-naming): the name that iterators have for it
      Entry entry;
      const Entry* operator->() const noexcept { return &entry; }
    };

    explicit Iterator(const Record* at) noexcept : at_(at) {}
    Entry operator*() const noexcept { return Entry(*at_); }
    pointer operator->() const noexcept { return {**this}; }
    Iterator& operator++() noexcept {
      ++at_;
      return *this;
    }
    Iterator operator++(int) noexcept { return Iterator(at_++); }
    bool operator==(const Iterator& other) const noexcept { return at_ == other.at_; }
    bool operator!=(const Iterator& other) const noexcept { return at_ != other.at_; }

   private:
    const Record* at_;
  };

  Listing() noexcept = default;
  Listing(Listing&& other) noexcept
      : records_(std::exchange(other.records_, nullptr)),
        count_(std::exchange(other.count_, 0)),
        isCutShort_(std::exchange(other.isCutShort_, false)) {}
  Listing& operator=(Listing&& other) noexcept {
    std::swap(records_, other.records_);
    std::swap(count_, other.count_);
    std::swap(isCutShort_, other.isCutShort_);
    return *this;
  }
  ~Listing() { detail::release(records_, count_); }

  Iterator begin() const noexcept { return Iterator(records_); }
  Iterator end() const noexcept { return Iterator(records_ + count_); }
  std::size_t size() const noexcept { return static_cast<std::size_t>(count_); }
  bool empty() const noexcept { return count_ == 0; }
  /// `index` must be less than size().
  Entry operator[](std::size_t index) const noexcept { return Entry(records_[index]); }

  /// Whether there are more entries than these.
  bool isCutShort() const noexcept { return isCutShort_; }

  /// Replaces the entries by what `list`, a call of the C interface on this thread, hands out.
  template <typename List>
  int receive(List list) {
    *this = Listing();
    const int code = list(&records_, &count_);
    isCutShort_ = code == 0 && vemlo_client_was_listing_cut_short() != 0;
    return code;
  }

 private:
  Record* records_ = nullptr;
  int count_ = 0;
  bool isCutShort_ = false;
};

using Folders = Listing<directory, FolderEntry>;
/// The names of buckets or containers.
using Names = Listing<char*, std::string_view>;

}  // namespace vemlo
