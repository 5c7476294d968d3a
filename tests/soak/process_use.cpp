#include "process_use.h"

#include <malloc.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace Soak {

ProcessUse currentUse() {
  malloc_trim(0);  // so that only what is in use counts
  ProcessUse use;
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    constexpr std::string_view kName = "VmRSS:";
    if (line.compare(0, kName.size(), kName) == 0) {
      use.kibibytes = std::stoul(line.substr(kName.size()));
    }
  }
  if (use.kibibytes == 0) throw std::runtime_error("the kernel does not tell VmRSS");
  const std::filesystem::directory_iterator descriptors("/proc/self/fd");
  use.descriptors = static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
  return use;
}

}  // namespace Soak
