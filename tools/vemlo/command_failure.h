#pragma once

#include <stdexcept>
#include <string>

namespace tool {

/// The exit codes of the process. Scripts rely on the numbers: do not change them, nor their
/// description in `--help`.
enum class ExitCode {
  Done = 0,
  ServiceFailed = 1,
  BadUsage = 2,
  LocalFailure = 3,
};

/// Ends the command. `main` prints the message, which must be one line without secrets.
class CommandFailure : public std::runtime_error {
 public:
  CommandFailure(ExitCode code, const std::string& message)
      : std::runtime_error(message), code_(code) {}

  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace tool
