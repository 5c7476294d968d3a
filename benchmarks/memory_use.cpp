#include "memory_use.h"

#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <exception>
#include <fstream>
#include <stdexcept>
#include <string>

namespace benchmarks {
namespace {

constexpr int kCalls = 5;

long statusKibibytes(const std::string& name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.compare(0, name.size(), name) == 0) return std::stol(line.substr(name.size()));
  }
  throw std::runtime_error("the kernel does not tell " + name);
}

long heapKibibytes() {
  const auto heap = mallinfo2();
  return static_cast<long>((heap.uordblks + heap.hblkhd) / 1024);
}

MemoryUse measure(const std::function<Records()>& list) {
  const long idle = statusKibibytes("VmRSS:");
  for (int i = 1; i < kCalls; ++i) list();
  const long before = heapKibibytes();
  const Records records = list();
  return {statusKibibytes("VmHWM:") - idle, heapKibibytes() - before, 0};
}

}  // namespace

MemoryUse measureMemory(const Listing& listing, const ListingWay& way,
                        const TlsIdentity& identity) {
  const PageServer server(listing.makeSite, identity);
  int ends[2];
  if (pipe(ends) != 0) throw std::runtime_error("no pipe for the child's figures");
  const pid_t child = fork();
  if (child < 0) throw std::runtime_error("no child process");
  MemoryUse use;
  if (child == 0) {
    try {
      use = measure(way.open(routeTo(server, listing, identity)));
    } catch (const std::exception& exception) {
      std::fprintf(stderr, "%s\n", exception.what());
    }
    _exit(write(ends[1], &use, sizeof(use)) == sizeof(use) ? 0 : 1);
  }

  close(ends[1]);
  const bool isComplete = read(ends[0], &use, sizeof(use)) == sizeof(use);
  close(ends[0]);
  waitpid(child, nullptr, 0);
  if (!isComplete || use.peakKibibytes < 0)
    throw std::runtime_error("the memory cannot be measured");
  use.receivedKibibytes = static_cast<long>(server.bytesSent() / kCalls / 1024);
  return use;
}

}  // namespace benchmarks
