#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>

#include "service.h"

namespace Soak {

/// What a server counts. In memory that it shares with the process that has started it.
struct Counts {
  std::atomic<std::size_t> connections{0};
  std::atomic<std::size_t> requests{0};
  std::atomic<std::size_t> refreshes{0};
};

/// A service in a process of its own, so that the memory of the clients can be told from that of
/// the server. Its access tokens expire after some requests, and so do its connections: some are
/// announced to close, others are just closed.
class SoakServer {
 public:
  /// Before the process has threads.
  explicit SoakServer(const Behaviour::Service& service);
  ~SoakServer();
  SoakServer(const SoakServer&) = delete;
  SoakServer& operator=(const SoakServer&) = delete;

  std::uint16_t port() const { return port_; }
  const Counts& counts() const { return *counts_; }

 private:
  Counts* counts_;
  std::uint16_t port_ = 0;
  pid_t process_ = -1;
};

}  // namespace Soak
