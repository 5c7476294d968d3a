#include "libvemlo/records.h"

#include <algorithm>
#include <cstdlib>

namespace {

directory* resized(directory* records, std::size_t count) {
  return static_cast<directory*>(std::realloc(records, count * sizeof(directory)));
}

void freeTexts(const directory& record) {
  std::free(record.name);
  std::free(record.id);
}

}  // namespace

namespace libvemlo {

char* copyOf(std::string_view text) {
  auto* const copy = static_cast<char*>(std::malloc(text.size() + 1));
  text.copy(copy, text.size());
  copy[text.size()] = '\0';
  return copy;
}

directory* makeDirectory(std::string_view id, std::string_view name) {
  auto* const record = static_cast<directory*>(std::calloc(1, sizeof(directory)));
  record->name = copyOf(name);
  record->id = copyOf(id);
  return record;
}

DirectoryList::~DirectoryList() {
  std::for_each(records_, records_ + size_, freeTexts);
  std::free(records_);
}

void DirectoryList::reserve(std::size_t capacity) {
  if (capacity <= capacity_) return;
  capacity_ = std::max(capacity, 2 * capacity_);
  records_ = resized(records_, capacity_);
}

void DirectoryList::add(std::string_view id, std::string_view name) {
  if (size_ == capacity_) reserve(std::max<std::size_t>(size_ + 1, 16));
  records_[size_++] = {copyOf(name), copyOf(id)};
}

void DirectoryList::handOut(directory** list, int* count) && {
  *count = static_cast<int>(size_);
  if (size_ == 0) {
    // NOLINTNEXTLINE(clang-analyzer-optin.portability.UnixAPI): an empty array is due
    *list = static_cast<directory*>(std::calloc(0, sizeof(directory)));
    return;
  }
  *list = resized(records_, size_);
  records_ = nullptr;
  size_ = capacity_ = 0;
}

}  // namespace libvemlo

void free_buckets(char** buckets, int count) {
  if (buckets == nullptr || count <= 0) return;
  for (int i = 0; i < count; ++i) std::free(buckets[i]);
  std::free(buckets);
}

void free_directory(directory* entry) {
  if (entry == nullptr) return;
  freeTexts(*entry);
  std::free(entry);
}

void free_diretories(directory* entries, int count) {
  if (entries == nullptr || count <= 0) return;
  for (int i = 0; i < count; ++i) freeTexts(entries[i]);
  std::free(entries);
}
