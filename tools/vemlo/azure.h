#pragma once

#include <CLI/App.hpp>

namespace tool {

/// Adds `azure` and its commands.
void addAzureCommands(CLI::App& app);

}  // namespace tool
