#include "message.h"

#include <cstdio>

#include "text.h"

namespace tool {

void writeMessage(std::string_view message) {
  std::fprintf(stderr, "vemlo: %s\n", printable(message).c_str());
}

}  // namespace tool
