#pragma once

#include <string>
#include <vector>

namespace tool {

/// A place in a linked account, which the user writes as NAME:/PATH.
struct Location {
  std::string account;
  /// Without the slashes at its beginning.
  std::string path;
};

Location parseLocation(const std::string& text);

/// The names in a path. Slashes that no name stands between count as one.
std::vector<std::string> namesIn(const std::string& path);

/// Throws CommandFailure if no account can have this name. It would not be one word in a location,
/// in a shell and in a file.
void requireAccountName(const std::string& name);

}  // namespace tool
