#pragma once

#include <CLI/App.hpp>

namespace tool {

/// Adds `login`.
void addLoginCommand(CLI::App& app);

}  // namespace tool
