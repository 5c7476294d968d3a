#include "secrets.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <system_error>

#include "command_failure.h"
#include "terminal.h"

namespace tool {
namespace {

std::string readLine(std::istream& stream, const std::string& source) {
  std::string line;
  std::getline(stream, line);
  if (!line.empty() && line.back() == '\r') line.pop_back();
  // A NUL would silently truncate the secret. It indicates a file in another encoding.
  if (line.empty() || line.find('\0') != std::string::npos) {
    throw CommandFailure(ExitCode::LocalFailure, "no secret in the first line of " + source);
  }
  return line;
}

std::string readFile(const std::string& file) {
  if (file == "-") return readLine(std::cin, "standard input");
  std::ifstream stream(file);
  if (!stream) {
    throw CommandFailure(ExitCode::LocalFailure, "cannot read the secret file '" + file + "': " +
                                                     std::generic_category().message(errno));
  }
  return readLine(stream, "'" + file + "'");
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
  return readLine(std::cin, "standard input");
}

}  // namespace tool
