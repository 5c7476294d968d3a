#pragma once

#include <string>
#include <vector>

namespace UnitTests {

/// Listens at /dev/log for the calling process alone. The process gets a /dev of its own, so that a
/// real system log is neither required nor disturbed. Without the permission for that, it binds the
/// address itself if it is free, and releases it at the end. Throws if neither is possible. Meant
/// for a process that does nothing else.
class SystemLog {
 public:
  SystemLog();
  ~SystemLog();
  SystemLog(const SystemLog&) = delete;
  SystemLog& operator=(const SystemLog&) = delete;

  /// The messages that this process has sent since the last call, one per datagram.
  std::vector<std::string> takeMessages();

 private:
  int socket_ = -1;
};

}  // namespace UnitTests
