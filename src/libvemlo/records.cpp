#include <cstdlib>

#include "libvemlo.h"

void free_buckets(char** buckets, int count) {
  if (buckets == nullptr || count <= 0) return;
  for (int i = 0; i < count; ++i) std::free(buckets[i]);
  std::free(buckets);
}

void free_directory(directory* entry) {
  if (entry == nullptr) return;
  std::free(entry->name);
  std::free(entry->id);
  std::free(entry);
}

void free_diretories(directory* entries, int count) {
  if (entries == nullptr || count <= 0) return;
  for (int i = 0; i < count; ++i) {
    std::free(entries[i].name);
    std::free(entries[i].id);
  }
  std::free(entries);
}
