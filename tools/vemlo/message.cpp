#include "message.h"

#include <cstdio>

#include "erasable_line.h"
#include "text.h"

namespace tool {

void writeMessage(std::string_view message) {
  const ErasedLine erased;
  std::fprintf(stderr, "vemlo: %s\n", printable(message).c_str());
}

}  // namespace tool
