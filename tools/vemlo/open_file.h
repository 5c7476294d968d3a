#pragma once

#include <unistd.h>

namespace tool {

/// Owns a file descriptor, which is negative if the file could not be opened.
class OpenFile {
 public:
  explicit OpenFile(int descriptor) : descriptor_(descriptor) {}
  ~OpenFile() { close(); }
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;

  int descriptor() const { return descriptor_; }
  bool isOpen() const { return descriptor_ >= 0; }

  bool close() {
    const bool isClosed = !isOpen() || ::close(descriptor_) == 0;
    descriptor_ = -1;
    return isClosed;
  }

 private:
  int descriptor_;
};

}  // namespace tool
