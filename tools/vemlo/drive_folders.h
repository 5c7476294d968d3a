#pragma once

#include <CLI/App.hpp>

namespace vemlo {

/// Adds `ls` and `mkdir` of the drives.
void addDriveFolderCommands(CLI::App& app);

}  // namespace vemlo
