#pragma once

#include <CLI/App.hpp>

namespace tool {

/// Adds `ls` of linked accounts.
void addListCommand(CLI::App& app);

}  // namespace tool
