#pragma once

#include <CLI/App.hpp>

namespace vemlo {

/// Adds `login`, `logout`, `whoami` and `accounts`.
void addDriveAccountCommands(CLI::App& app);

}  // namespace vemlo
