#pragma once

#include <string_view>

namespace tool {

/// Writes a message to standard error, with the program's name and a line break.
void writeMessage(std::string_view message);

}  // namespace tool
