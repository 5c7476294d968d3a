#pragma once

#include <glog/logging.h>

#include <string>
#include <utility>

#include "support/log_capture.h"

namespace UnitTests {

/// Sets the level of the log, as the first session of a process does once, for this object's life.
class VerboseLevel {
 public:
  explicit VerboseLevel(int level) : before_(FLAGS_v) { FLAGS_v = level; }
  ~VerboseLevel() { FLAGS_v = before_; }
  VerboseLevel(const VerboseLevel&) = delete;
  VerboseLevel& operator=(const VerboseLevel&) = delete;

 private:
  int before_;
};

inline TestSupport::LogRecord verboseLine(std::string text) {
  return {google::GLOG_INFO, std::move(text)};
}

}  // namespace UnitTests
