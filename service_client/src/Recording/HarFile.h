#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <string_view>

namespace CloudStorage::Recording {

/// A HAR file that is valid after each entry. The functions return 0 or the `errno` of the system
/// call that failed.
class HarFile {
 public:
  HarFile() = default;
  ~HarFile();
  HarFile(const HarFile&) = delete;
  HarFile& operator=(const HarFile&) = delete;

  /// Creates the file, which must not exist, for its owner only.
  int create(const char* path);
  /// Appends an entry in JSON. If that fails, the file ends with the entry before it.
  int append(std::string entry);
  int close();

 private:
  int writeAt(off_t position, std::string_view bytes) const;

  int descriptor_ = -1;
  /// The position of the text that ends the list of entries and the file.
  off_t end_ = 0;
  bool hasEntry_ = false;
};

}  // namespace CloudStorage::Recording
