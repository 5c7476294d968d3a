#pragma once

#include <cstddef>
#include <string>

namespace tool {

/// Shows a line on standard error, in place of the one shown before, until other output erases it.
/// May be called by any thread. An empty line only erases.
void showErasableLine(const std::string& line);

/// How many columns that line has, 0 if it is not shown. May be called by a signal handler.
std::size_t columnsToErase();

/// Erases that line and keeps it from being shown again. For output that may go to the same
/// terminal.
class ErasedLine {
 public:
  ErasedLine();
  ~ErasedLine();
  ErasedLine(const ErasedLine&) = delete;
  ErasedLine& operator=(const ErasedLine&) = delete;
};

}  // namespace tool
