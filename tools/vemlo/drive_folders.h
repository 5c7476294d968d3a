#pragma once

#include <CLI/App.hpp>

namespace tool {

/// Adds `ls` and `mkdir` of the drives.
void addDriveFolderCommands(CLI::App& app);

}  // namespace tool
