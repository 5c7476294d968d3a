#include "peak_memory.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>

namespace benchmarks {
namespace {

long statusKibibytes(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, name.size(), name) == 0) return std::stol(line.substr(name.size()));
  }
  throw std::runtime_error("the kernel does not tell " + name);
}

long measure(const std::function<std::function<void()>()>& prepare) {
  const auto work = prepare();
  const long idle = statusKibibytes("VmRSS:");
  work();
  return statusKibibytes("VmHWM:") - idle;
}

}  // namespace

long peakAboveIdle(const std::function<std::function<void()>()>& prepare) {
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe for the child's figure");
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no child process");
  if (child == 0) {
    long peak = -1;
    try {
      peak = measure(prepare);
    } catch (const std::exception& exception) {
      std::fprintf(stderr, "%s\n", exception.what());
    }
    _exit(write(ends[1], &peak, sizeof(peak)) == sizeof(peak) ? 0 : 1);
  }

  close(ends[1]);
  long peak = -1;
  const bool told = read(ends[0], &peak, sizeof(peak)) == sizeof(peak);
  close(ends[0]);
  waitpid(child, nullptr, 0);
  if (!told || peak < 0) throw std::runtime_error("the memory could not be measured");
  return peak;
}

}  // namespace benchmarks
