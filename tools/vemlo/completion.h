#pragma once

#include <CLI/App.hpp>

namespace tool {

/// Adds `completion`, which prints a script for a shell, and the hidden `complete`, which the
/// scripts call: `vemlo complete -- WORD...` prints what the last word can become, one candidate
/// per line, with a description behind a tab if there is one. A candidate that ends with a slash
/// can be continued. The only candidate `file`, without a word before the tab, stands for the names
/// of files. `app` must be complete when it is parsed.
void addCompletionCommands(CLI::App& app);

}  // namespace tool
