#pragma once

#include <string>
#include <vector>

namespace UnitTests {

/// Listens at /dev/log in the system log's stead, for the calling process alone: that process gets
/// a /dev of its own, so that a real system log is neither needed nor disturbed. Where the process
/// may not have one, the address itself is taken if nobody listens there, and given back. Throws
/// if neither is possible. Meant for a process that does nothing else.
class SystemLog {
 public:
  SystemLog();
  ~SystemLog();
  SystemLog(const SystemLog&) = delete;
  SystemLog& operator=(const SystemLog&) = delete;

  /// What this process has sent since the last call, one datagram each.
  std::vector<std::string> takeMessages();

 private:
  int socket_ = -1;
};

}  // namespace UnitTests
