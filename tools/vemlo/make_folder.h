#pragma once

#include <CLI/App.hpp>

namespace tool {

/// Adds `mkdir` of linked accounts.
void addMakeFolderCommand(CLI::App& app);

}  // namespace tool
