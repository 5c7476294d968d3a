#pragma once

#include <CLI/App.hpp>

namespace vemlo {

/// Adds `azure` and its commands.
void addAzureCommands(CLI::App& app);

}  // namespace vemlo
