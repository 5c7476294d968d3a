#include "terminal.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace vemlo {
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

bool showsColours() { return canOverwriteLines() && environment("NO_COLOR").empty(); }

}  // namespace vemlo
