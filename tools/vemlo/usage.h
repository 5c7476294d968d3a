#pragma once

#include <CLI/App.hpp>
#include <string>

namespace tool {

/// Throws CommandFailure if the arguments name a command that does not exist. The message contains
/// the command that was probably meant.
void requireKnownCommands(const CLI::App& app, int argc, const char* const* argv);

/// The message for arguments that `app` has not accepted. It contains no value, which may be a
/// secret that would end up in a log, unless the value is that of a known option.
std::string describe(const CLI::ParseError& error, const CLI::App& app);

}  // namespace tool
