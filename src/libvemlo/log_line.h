#pragma once

#include <glog/logging.h>

#include <cstddef>
#include <ostream>
#include <string>

#include "CloudStorage/Util/Threading/CancellationDeferred.h"

namespace libvemlo {

// A line of the log with the place in the source where the object is made, written when the object
// ends. glog writes in a destructor, which must not throw: a thread that is cancelled while it
// writes would end the process.
class LogLine {
 public:
  template <typename T>
  std::ostream& operator<<(const T& value) {
    return message_.stream() << value;
  }

 protected:
  using Send = void (google::LogMessage::*)();

  LogLine(const char* file, int line, google::LogSeverity severity, Send send)
      : message_(file, line, severity, 0, send) {}

 private:
  CloudStorage::Util::Threading::CancellationDeferred cancellation_;  // outlives the message
  google::LogMessage message_;
};

// An ERROR line, which also goes to the system log.
class ErrorLine : public LogLine {
 public:
  explicit ErrorLine(const char* file = __builtin_FILE(), int line = __builtin_LINE())
      : LogLine(file, line, google::GLOG_ERROR, &google::LogMessage::SendToSyslogAndLog) {}
};

// An ERROR line of the log alone.
class PlainErrorLine : public LogLine {
 public:
  explicit PlainErrorLine(const char* file = __builtin_FILE(), int line = __builtin_LINE())
      : LogLine(file, line, google::GLOG_ERROR, &google::LogMessage::SendToLog) {}
};

// A line for VLOG_IS_ON().
class VerboseLine : public LogLine {
 public:
  explicit VerboseLine(const char* file = __builtin_FILE(), int line = __builtin_LINE())
      : LogLine(file, line, google::GLOG_INFO, &google::LogMessage::SendToLog) {}
};

// States the number of directories in a listing if `isVerbose`, which is VLOG_IS_ON(9) in the file
// of the caller. The place in the source is that of the caller, too.
inline void logDirectoryCount(bool isVerbose, std::size_t count,
                              const char* file = __builtin_FILE(), int line = __builtin_LINE()) {
  if (!isVerbose) return;
  VerboseLine(file, line) << "Got " << std::to_string(count) << " directories. ";
}

}  // namespace libvemlo
