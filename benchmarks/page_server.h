#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tls_identity.h"

namespace benchmarks {

/// The content of a page server.
struct Site {
  std::string contentType;
  std::vector<std::string> pages;
  /// The index of the page for a request, given with head and body; the first page if not set.
  std::function<std::size_t(std::string_view request)> choose;
};

struct ServerCounters;

/// Responds to HTTP requests on a free port of 127.0.0.1 from memory, over persistent connections.
/// Accepts TLS and plain connections, and is also a proxy that leads to itself for every host, for
/// clients whose hosts are fixed. Runs as a process of its own, so that its costs are not part of
/// the client's.
class PageServer {
 public:
  /// Forks, so no other thread may run yet. The pages are made in the server's process, so that
  /// they are not in the client's memory. Throws std::system_error.
  PageServer(const std::function<Site()>& makeSite, const TlsIdentity& identity);
  ~PageServer();
  PageServer(const PageServer&) = delete;
  PageServer& operator=(const PageServer&) = delete;

  std::uint16_t port() const { return port_; }
  unsigned connections() const;
  unsigned requests() const;
  /// The size of the responses, heads included, before encryption.
  std::uint64_t bytesSent() const;

 private:
  ServerCounters* counters_;  // shared with the process
  std::uint16_t port_ = 0;
  pid_t process_ = 0;
};

}  // namespace benchmarks
