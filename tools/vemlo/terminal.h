#pragma once

#include <cstddef>
#include <string>

namespace tool {

/// Whether standard error is a terminal on which a line can be overwritten.
bool canOverwriteLines();

/// Whether the log, which is written to standard error, is shown in colour: on a terminal, unless
/// the user has set NO_COLOR.
bool showsColours();

/// The number of columns to write help texts for: the value of COLUMNS, else the width of the
/// terminal on standard output, else 80.
std::size_t columns();

/// Whether the terminal shows UTF-8, as far as the locale of the environment tells.
bool showsUtf8();

/// Shows again what is typed, and erases the line that is to be erased. For signal handlers that
/// end the process.
void restoreTerminal();

/// During its lifetime, standard input, a terminal, does not show what is typed.
class HiddenInput {
 public:
  /// Writes the prompt to standard error.
  explicit HiddenInput(const std::string& prompt);
  ~HiddenInput();
  HiddenInput(const HiddenInput&) = delete;
  HiddenInput& operator=(const HiddenInput&) = delete;
};

}  // namespace tool
