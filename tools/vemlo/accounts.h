#pragma once

#include <CLI/App.hpp>

namespace tool {

/// Adds `accounts` and `logout`.
void addAccountsCommands(CLI::App& app);

}  // namespace tool
