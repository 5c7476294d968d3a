#pragma once

#include <CLI/App.hpp>

namespace vemlo {

/// Adds `s3` and its commands.
void addS3Commands(CLI::App& app);

}  // namespace vemlo
