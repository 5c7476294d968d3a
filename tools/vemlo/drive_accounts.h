#pragma once

#include <CLI/App.hpp>

namespace tool {

/// Adds `login`, `logout`, `whoami` and `accounts`.
void addDriveAccountCommands(CLI::App& app);

}  // namespace tool
