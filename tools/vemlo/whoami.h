#pragma once

#include <CLI/App.hpp>

namespace tool {

/// Adds `whoami`.
void addWhoAmICommand(CLI::App& app);

}  // namespace tool
