#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vemlo {

/// `text` made safe to show on a terminal: what could steer the terminal or reorder the line is
/// escaped like in JSON (a name is whatever a service says it is), and bytes that are no UTF-8 are
/// replaced by U+FFFD.
std::string printable(std::string_view text);

/// `text` as a JSON string, quotes included. As safe on a terminal as `printable`.
std::string jsonString(std::string_view text);

/// The columns that `text`, which `printable` returned, takes on a terminal. Needs a UTF-8
/// LC_CTYPE.
std::size_t displayWidth(std::string_view text);

/// One of this program's own words in capitals.
std::string upperCase(std::string word);

}  // namespace vemlo
