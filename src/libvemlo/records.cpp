#include "libvemlo/records.h"

#include <memory>

namespace libvemlo {

char* copyOf(std::string_view text) {
  auto* const copy = static_cast<char*>(std::malloc(text.size() + 1));
  if (copy == nullptr) throw std::bad_alloc();
  text.copy(copy, text.size());
  copy[text.size()] = '\0';
  return copy;
}

directory* makeDirectory(std::string_view id, std::string_view name) {
  const auto allocated = static_cast<directory*>(std::calloc(1, sizeof(directory)));
  if (allocated == nullptr) throw std::bad_alloc();
  std::unique_ptr<directory, void (*)(directory*)> record(allocated, free_directory);
  record->name = copyOf(name);
  record->id = copyOf(id);
  return record.release();
}

}  // namespace libvemlo

void free_buckets(char** buckets, int count) {
  if (buckets == nullptr || count <= 0) return;
  libvemlo::freeRecords(buckets, static_cast<std::size_t>(count));
}

void free_directory(directory* entry) {
  if (entry == nullptr) return;
  libvemlo::freeRecords(entry, 1);
}

void free_diretories(directory* entries, int count) {
  if (entries == nullptr || count <= 0) return;
  libvemlo::freeRecords(entries, static_cast<std::size_t>(count));
}
