#pragma once

#include <CLI/App.hpp>

namespace tool {

/// Adds `s3` and its commands.
void addS3Commands(CLI::App& app);

}  // namespace tool
