#include "location.h"

#include <algorithm>

#include "command_failure.h"

namespace tool {

Location parseLocation(const std::string& text) {
  const std::size_t colon = std::min(text.find(':'), text.size());
  const std::size_t begin = std::min(colon + 1, text.size());
  const std::size_t path = std::min(text.find_first_not_of('/', begin), text.size());
  return {text.substr(0, colon), text.substr(path)};
}

std::vector<std::string> namesIn(const std::string& path) {
  std::vector<std::string> names;
  std::size_t begin = 0;
  while (begin < path.size()) {
    const std::size_t end = std::min(path.find('/', begin), path.size());
    if (end > begin) names.push_back(path.substr(begin, end - begin));
    begin = end + 1;
  }
  return names;
}

void requireAccountName(const std::string& name) {
  constexpr const char* kLetters =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.";
  constexpr std::size_t kLongest = 64;
  // A dot alone could be taken for a folder.
  const bool isName = name.find_first_not_of("-_.") != std::string::npos &&
                      name.size() <= kLongest && name.front() != '-' &&
                      name.find_first_not_of(kLetters) == std::string::npos;
  if (isName) return;
  throw CommandFailure(ExitCode::BadUsage,
                       "an account's name has up to 64 letters, digits, '-', '_' and '.', at "
                       "least one letter or digit, and does not begin with '-'");
}

}  // namespace tool
