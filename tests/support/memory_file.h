#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <string>
#include <string_view>
#include <system_error>

namespace TestSupport {

/// A file that exists only as long as this object, or a process started meanwhile, has it open.
/// No file remains even if the test ends without destructors.
class MemoryFile {
 public:
  explicit MemoryFile(std::string_view content) : descriptor_(::memfd_create("test", 0)) {
    const ssize_t written = ::write(descriptor_, content.data(), content.size());
    if (written != static_cast<ssize_t>(content.size())) {
      throw std::system_error(errno, std::generic_category(), "MemoryFile");
    }
  }
  ~MemoryFile() { ::close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  /// Valid in this process and in those it starts.
  const std::string& path() const { return path_; }

 private:
  const int descriptor_;
  const std::string path_ = "/proc/self/fd/" + std::to_string(descriptor_);
};

}  // namespace TestSupport
