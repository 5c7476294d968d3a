#include "slow_lookup.h"

#include <dlfcn.h>
#include <netdb.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <thread>

namespace {

std::atomic<int> lookups{0};

}  // namespace

int Faults::slowLookups() { return lookups; }

// Replaces the function of the C library for the whole process, libcurl included.
extern "C" __attribute__((visibility("default"))) int getaddrinfo(const char* node,
                                                                  const char* service,
                                                                  const addrinfo* hints,
                                                                  addrinfo** result) {
  if (node != nullptr && std::strcmp(node, Faults::kSlowHost) == 0) {
    ++lookups;
    std::this_thread::sleep_for(std::chrono::seconds(1));
    return EAI_NONAME;
  }
  static const auto real =
      reinterpret_cast<decltype(&getaddrinfo)>(::dlsym(RTLD_NEXT, "getaddrinfo"));
  return real(node, service, hints, result);
}
