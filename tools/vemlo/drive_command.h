#pragma once

#include <CLI/App.hpp>
#include <string>

namespace tool {

/// Adds a command that `--help` lists among the commands of the drives.
///
/// Each command needs an arguments object of its own, which its callback keeps alive: an
/// environment variable that is read for one command would otherwise replace an option of another.
CLI::App& addDriveCommand(CLI::App& app, const std::string& name, const std::string& description);

}  // namespace tool
