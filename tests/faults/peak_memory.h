#pragma once

#include <cstddef>
#include <fstream>
#include <stdexcept>
#include <string>

namespace Faults {

/// How much the memory of this process grows during this object's life, at its highest.
class PeakMemory {
 public:
  PeakMemory() {
    std::ofstream peak("/proc/self/clear_refs");
    constexpr char kResetPeak[] = "5";
    peak << kResetPeak << std::flush;
    if (!peak) throw std::runtime_error("the kernel does not reset the peak of memory");
    before_ = kibibytes("VmRSS:");
  }

  std::size_t growthInMebibytes() const {
    const std::size_t peak = kibibytes("VmHWM:");
    return peak > before_ ? (peak - before_) / 1024 : 0;
  }

 private:
  static std::size_t kibibytes(const std::string& name) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
      if (line.compare(0, name.size(), name) == 0) return std::stoul(line.substr(name.size()));
    }
    throw std::runtime_error("the kernel does not tell " + name);
  }

  std::size_t before_;
};

}  // namespace Faults
