#pragma once

namespace vemlo {

/// Whether standard error is a terminal on which a line can be overwritten.
bool canOverwriteLines();

/// Whether the log, which is written to standard error, is shown in colour: on a terminal, unless
/// the user has set NO_COLOR.
bool showsColours();

}  // namespace vemlo
