#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace tool {

/// `text` made safe to show on a terminal, as a service may return any name. Characters that
/// control the terminal, change the direction of the text or show nothing, and bytes that are not
/// valid UTF-8, are escaped, as in \x1b and \u202e. Backslashes are doubled, so that no name looks
/// like the escape of another.
std::string printable(std::string_view text);

bool isUtf8(std::string_view text);

/// Whether nothing in `text` has to be escaped. Backslashes need not.
bool isPrintable(std::string_view text);

/// `text` as a JSON string, including the quotes. Safe on a terminal. Bytes that are not valid
/// UTF-8 are replaced by U+FFFD, because JSON cannot represent them.
std::string jsonString(std::string_view text);

/// The number of columns that `text`, a result of `printable`, takes on a terminal. Requires an
/// LC_CTYPE with UTF-8.
std::size_t displayWidth(std::string_view text);

/// `text` with line breaks in place of spaces, so that no line is longer than `columns` except for
/// a longer word. A broken line continues below the word that follows its last two spaces, as in a
/// list with a name and a description in each line.
std::string wrapped(std::string_view text, std::size_t columns);

/// `word` in upper case. Only ASCII letters change.
std::string upperCase(std::string word);

}  // namespace tool
