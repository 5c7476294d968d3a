#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace CloudStorage::Util {

/// The maximum length of a line, in bytes.
inline constexpr std::size_t kLineLimit = 1024;

/// `text` as one line of a log: each sequence of line breaks and tabs becomes one space, other
/// control characters and invalid UTF-8 become `?`, and spaces at both ends are removed. The result
/// is truncated to at most `limit` bytes, between two characters.
std::string oneLine(std::string_view text, std::size_t limit = kLineLimit);

/// `text` with every byte that is not part of valid UTF-8 replaced by `?`.
std::string replaceInvalidUtf8(std::string_view text);

/// `bytes` as a name that hosts can show and that a C string can hold: each NUL, and each byte that
/// is not part of valid UTF-8, is replaced by U+FFFD.
std::string toName(std::string_view bytes);

/// `text` without a leading UTF-8 byte order mark.
std::string_view skipByteOrderMark(std::string_view text);

/// `text` without the spaces, tabs and line breaks around it.
std::string_view trimmed(std::string_view text);

/// `text` with A to Z converted to a to z, independent of the process's locale.
std::string lowerCase(std::string_view text);

}  // namespace CloudStorage::Util
