#include "terminal.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <charconv>
#include <cstdlib>
#include <string_view>

namespace tool {
namespace {

std::string_view environment(const char* variable) {
  const char* value = std::getenv(variable);
  return value == nullptr ? "" : value;
}

}  // namespace

bool canOverwriteLines() {
  const std::string_view type = environment("TERM");
  return isatty(STDERR_FILENO) != 0 && !type.empty() && type != "dumb";
}

std::size_t columns() {
  constexpr std::size_t kUsual = 80;
  const std::string_view given = environment("COLUMNS");
  std::size_t number = 0;
  std::from_chars(given.data(), given.data() + given.size(), number);
  if (number > 0) return number;
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return kUsual;
}

bool showsColours() { return canOverwriteLines() && environment("NO_COLOR").empty(); }

}  // namespace tool
