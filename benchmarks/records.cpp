#include "records.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace benchmarks {
namespace {

template <typename Record>
Record* copyOfAll(const std::vector<Record>& records) {
  auto* array = static_cast<Record*>(std::calloc(records.size(), sizeof(Record)));
  std::copy(records.begin(), records.end(), array);
  return array;
}

}  // namespace

char* copyOf(std::string_view text) {
  auto* copy = static_cast<char*>(std::malloc(text.size() + 1));
  std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return copy;
}

directory* arrayOf(const std::vector<directory>& directories) { return copyOfAll(directories); }

char** arrayOf(const std::vector<char*>& names) { return copyOfAll(names); }

}  // namespace benchmarks
