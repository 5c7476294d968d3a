#pragma once

#include <string>

namespace vemlo {

/// A secret of the user. It never comes from the command line, which other users of the machine can
/// read, but, in this order, from the first line of `file` if that is not empty ("-": the next line
/// of standard input), from the environment variable `variable`, or from the first line of the file
/// that the variable `variable`_FILE names.
///
/// @return Empty if none of them is given. Throws Failure if a file is given that holds no secret.
std::string readSecret(const std::string& file, const std::string& variable);

}  // namespace vemlo
