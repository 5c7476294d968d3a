#include "secrets.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include "command_failure.h"
#include "input_line.h"
#include "open_file.h"
#include "terminal.h"

namespace tool {
namespace {

std::string readSecretLine(int descriptor, const std::string& source) {
  std::string line = readLine(descriptor, source);
  if (!line.empty() && line.back() == '\r') line.pop_back();
  // A NUL would silently truncate the secret. It indicates a file in another encoding.
  if (line.empty() || line.find('\0') != std::string::npos) {
    throw CommandFailure(ExitCode::LocalFailure, "no secret in the first line of " + source);
  }
  return line;
}

std::string readFile(const std::string& file) {
  if (file == "-") return readSecretLine(STDIN_FILENO, "standard input");
  // Not blocking: a pipe is waited for when it is read, and that wait can be interrupted.
  const OpenFile open(::open(file.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  if (!open.isOpen()) {
    throw CommandFailure(ExitCode::LocalFailure, "cannot read the secret file '" + file + "': " +
                                                     std::generic_category().message(errno));
  }
  return readSecretLine(open.descriptor(), "'" + file + "'");
}

}  // namespace

std::string environment(const std::string& variable) {
  const char* value = std::getenv(variable.c_str());
  return value == nullptr ? "" : value;
}

std::string readSecret(const std::string& file, const std::string& variable) {
  if (!file.empty()) return readFile(file);
  if (std::string secret = environment(variable); !secret.empty()) return secret;
  const std::string fileOfEnvironment = environment(variable + "_FILE");
  return fileOfEnvironment.empty() ? "" : readFile(fileOfEnvironment);
}

std::string readOrAskForSecret(const std::string& file, const std::string& variable,
                               const std::string& prompt) {
  std::string secret = readSecret(file, variable);
  if (!secret.empty() || isatty(STDIN_FILENO) == 0) return secret;
  const HiddenInput hidden(prompt);
  return readSecretLine(STDIN_FILENO, "standard input");
}

}  // namespace tool
