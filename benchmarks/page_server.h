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

/// What a page server has to say.
struct Site {
  std::string contentType;
  std::vector<std::string> pages;
  /// Which page answers a request, of which all is given: head and body. Without it the first.
  std::function<std::size_t(std::string_view request)> choose;
};

struct ServerCounters;

/// Answers HTTP requests on a free port of 127.0.0.1 out of memory, over connections that stay
/// open. Speaks TLS to whoever begins with it, and is a proxy that leads to itself, whichever host
/// is asked for: so clients reach it whose hosts are fixed. Runs as a process of its own, so what
/// it costs is not taken for the client's.
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
  /// Of answers, heads included, before they are encrypted.
  std::uint64_t bytesSent() const;

 private:
  ServerCounters* counters_;  // shared with the process
  std::uint16_t port_ = 0;
  pid_t process_ = 0;
};

}  // namespace benchmarks
