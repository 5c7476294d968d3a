#pragma once

#include <glog/logging.h>

#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace TestSupport {

/// One record of the log, without the prefix of time and place.
struct LogRecord {
  google::LogSeverity severity;
  std::string text;

  bool operator==(const LogRecord& other) const {
    return severity == other.severity && text == other.text;
  }
};

inline std::ostream& operator<<(std::ostream& out, const LogRecord& record) {
  return out << google::GetLogSeverityName(record.severity) << " \"" << record.text << '"';
}

inline LogRecord errorLine(std::string text) { return {google::GLOG_ERROR, std::move(text)}; }
inline LogRecord verboseLine(std::string text) { return {google::GLOG_INFO, std::move(text)}; }

/// Collects what all threads of the process log during this object's life.
class LogCapture : private google::LogSink {
 public:
  LogCapture() { google::AddLogSink(this); }
  ~LogCapture() override { google::RemoveLogSink(this); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  std::vector<LogRecord> records() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return records_;
  }

  void clear() {
    const std::lock_guard<std::mutex> lock(mutex_);
    records_.clear();
  }

 private:
  using google::LogSink::send;
  void send(google::LogSeverity severity, const char* /*fullFilename*/,
            const char* /*baseFilename*/, int /*line*/, const google::LogMessageTime& /*time*/,
            const char* message, size_t length) override {
    const std::lock_guard<std::mutex> lock(mutex_);
    records_.push_back({severity, std::string(message, length)});
  }

  mutable std::mutex mutex_;
  std::vector<LogRecord> records_;
};

/// Sets the level of the log during this object's life, as the first session of a process does.
class VerboseLevel {
 public:
  explicit VerboseLevel(int level) : before_(FLAGS_v) { FLAGS_v = level; }
  ~VerboseLevel() { FLAGS_v = before_; }
  VerboseLevel(const VerboseLevel&) = delete;
  VerboseLevel& operator=(const VerboseLevel&) = delete;

 private:
  int before_;
};

}  // namespace TestSupport
