#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <string_view>
#include <utility>

#include "libvemlo.h"

// The records that hosts receive.
namespace libvemlo {

// Functions that allocate memory throw std::bad_alloc if there is none, and then release what they
// have allocated.

// `text` as a C string, to be released with free().
char* copyOf(std::string_view text);

// One folder of a drive service, which the host releases with free_directory().
directory* makeDirectory(std::string_view id, std::string_view name);

inline void freeTexts(char* name) { std::free(name); }

inline void freeTexts(const directory& record) {
  std::free(record.name);
  std::free(record.id);
}

// Releases the texts of `count` records, then the array.
template <typename Record>
void freeRecords(Record* records, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) freeTexts(records[i]);
  std::free(records);
}

// Records collected for the host, in the array that the host receives. Texts are copied from the
// pages in which they arrive. Records that are not handed out are released.
template <typename Record>
class RecordList {
 public:
  RecordList() = default;
  RecordList(const RecordList&) = delete;
  RecordList& operator=(const RecordList&) = delete;

  // Makes room for at least `capacity` records in total.
  void reserve(std::size_t capacity) {
    if (capacity <= capacity_) return;
    resize(std::max(capacity, 2 * capacity_));
  }

  std::size_t size() const { return size_; }

  // Passes the records to the host. The array of an empty list is null.
  void handOut(Record** list, int* count) && {
    if (size_ != 0) resize(size_);
    *list = std::exchange(records_, nullptr);
    *count = static_cast<int>(size_);
    size_ = capacity_ = 0;
  }

  // The same, but the array of an empty list is what calloc() returns for no records.
  void handOutArray(Record** list, int* count) && {
    std::move(*this).handOut(list, count);
    if (*list != nullptr) return;
    // NOLINTNEXTLINE(clang-analyzer-optin.portability.UnixAPI): an array of size 0 is intended
    *list = static_cast<Record*>(std::calloc(0, sizeof(Record)));
  }

 protected:
  ~RecordList() { freeRecords(records_, size_); }

  // A new record, without texts, at the end. The list releases the texts that the record is given.
  Record& append() {
    if (size_ == capacity_) reserve(std::max<std::size_t>(size_ + 1, 16));
    return records_[size_++] = Record();
  }

 private:
  void resize(std::size_t capacity) {
    auto* const resized = static_cast<Record*>(std::realloc(records_, capacity * sizeof(Record)));
    if (resized == nullptr) throw std::bad_alloc();
    records_ = resized;
    capacity_ = capacity;
  }

  Record* records_ = nullptr;
  std::size_t size_ = 0;
  std::size_t capacity_ = 0;
};

// Names of buckets or containers. The host releases them with free_buckets().
class NameList : public RecordList<char*> {
 public:
  void add(std::string_view name) {
    char*& record = append();
    record = copyOf(name);
  }
};

// Folders. The host releases them with free_diretories().
class DirectoryList : public RecordList<directory> {
 public:
  void add(std::string_view id, std::string_view name) {
    directory& record = append();
    record.name = copyOf(name);
    record.id = copyOf(id);
  }
  // A folder of an object store is addressed by its full prefix and has no id.
  void addPrefix(std::string_view prefix) {
    directory& record = append();
    record.name = copyOf(prefix);
  }
};

}  // namespace libvemlo
