#pragma once

#include <cstddef>

namespace tool {

/// Whether standard error is a terminal on which a line can be overwritten.
bool canOverwriteLines();

/// Whether the log, which is written to standard error, is shown in colour: on a terminal, unless
/// the user has set NO_COLOR.
bool showsColours();

/// The number of columns to write help texts for: the value of COLUMNS, else the width of the
/// terminal on standard output, else 80.
std::size_t columns();

}  // namespace tool
