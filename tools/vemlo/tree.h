#pragma once

#include <CLI/App.hpp>

namespace tool {

/// Adds `tree`.
void addTreeCommand(CLI::App& app);

}  // namespace tool
