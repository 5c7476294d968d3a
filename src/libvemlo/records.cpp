#include "libvemlo/records.h"

#include <algorithm>
#include <cstdlib>

namespace {

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
  for (const auto& record : records_) freeTexts(record);
}

void DirectoryList::add(std::string_view id, std::string_view name) {
  auto& record = records_.emplace_back();  // first, so that nothing is lost if there is no room
  record.name = copyOf(name);
  record.id = copyOf(id);
}

void DirectoryList::handOut(directory** list, int* count) && {
  *count = static_cast<int>(records_.size());
  *list = static_cast<directory*>(std::calloc(records_.size(), sizeof(directory)));
  std::copy(records_.begin(), records_.end(), *list);
  records_.clear();
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
