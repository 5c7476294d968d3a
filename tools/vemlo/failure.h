#pragma once

#include <stdexcept>
#include <string>

namespace vemlo {

/// What the process ends with. Scripts rely on the numbers: keep them, and what `--help` says of
/// them.
enum class ExitCode {
  Done = 0,
  ServiceFailed = 1,
  BadUsage = 2,
  LocalFailure = 3,
};

/// Ends the command; `main` prints the message, which must fit on one line and hold no secret.
class Failure : public std::runtime_error {
 public:
  Failure(ExitCode code, const std::string& message) : std::runtime_error(message), code_(code) {}

  ExitCode code() const { return code_; }

 private:
  ExitCode code_;
};

}  // namespace vemlo
