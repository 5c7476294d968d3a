#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <string>

namespace benchmarks {

/// Answers every HTTP request on a free port of 127.0.0.1 with one and the same XML page, out of
/// memory and over connections that stay open. Runs as a process of its own, so what it costs is
/// not taken for the client's.
class PageServer {
 public:
  /// Forks, so no other thread may run yet. The page is made in the server's process, so that it is
  /// not in the client's memory. Throws std::system_error.
  explicit PageServer(const std::function<std::string()>& makePage);
  ~PageServer();
  PageServer(const PageServer&) = delete;
  PageServer& operator=(const PageServer&) = delete;

  std::uint16_t port() const { return port_; }
  unsigned connections() const;
  unsigned requests() const;

 private:
  struct Counters;

  Counters* counters_;  // shared with the process
  std::uint16_t port_ = 0;
  pid_t process_ = 0;
};

}  // namespace benchmarks
