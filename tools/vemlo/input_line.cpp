#include "input_line.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

#include "command_failure.h"
#include "waiting.h"

namespace tool {
namespace {

constexpr std::size_t kLongest = std::size_t{64} << 10U;

/// @return Whether there was one more byte.
bool readByte(int descriptor, char& byte, const std::string& source) {
  while (true) {
    waitForInput(descriptor);
    const ssize_t size = ::read(descriptor, &byte, 1);
    if (size >= 0) return size > 0;
    if (errno == EINTR || errno == EAGAIN) continue;
    throw CommandFailure(ExitCode::LocalFailure,
                         "cannot read " + source + ": " + std::generic_category().message(errno));
  }
}

}  // namespace

std::string readLine(int descriptor, const std::string& source) {
  std::string line;
  char byte = 0;
  while (readByte(descriptor, byte, source) && byte != '\n') {
    if (line.size() == kLongest) {
      throw CommandFailure(ExitCode::LocalFailure,
                           "the first line of " + source + " is longer than 64 KiB");
    }
    line += byte;
  }
  return line;
}

}  // namespace tool
