#pragma once

#include <string>

namespace tool {

/// The value of an environment variable; empty if it is not set.
std::string environment(const std::string& variable);

/// Reads a secret of the user. The sources, in this order, are the first line of `file` ("-": the
/// next line of standard input), the environment variable `variable`, and the first line of the
/// file that the variable `variable`_FILE names. The command line is not a source because other
/// users of the machine can read it.
///
/// @return Empty if there is no source. Throws CommandFailure if a given file contains no secret.
std::string readSecret(const std::string& file, const std::string& variable);

/// Likewise, but if there is no source and standard input is a terminal, asks for the secret there,
/// without showing what is typed.
std::string readOrAskForSecret(const std::string& file, const std::string& variable,
                               const std::string& prompt);

}  // namespace tool
