#pragma once

#include <string>

namespace tool {

/// Reads a line without its end; at the end of the input what is left of it. Nothing behind the
/// line is read, so that the next one can be.
///
/// Throws CommandFailure if reading fails, if the line is longer than 64 KiB, and if the user
/// interrupts the command. The message contains `source`, where the line comes from.
std::string readLine(int descriptor, const std::string& source);

}  // namespace tool
