#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace CloudStorage::Util {

/// `text` fit for one line of a log: every run of line breaks and tabs becomes one blank, other
/// control characters and invalid UTF-8 become `?`, blanks at both ends are removed, and what is
/// left is cut at `limit` bytes between two characters.
std::string oneLine(std::string_view text, std::size_t limit = 1024);

/// `text` with every byte that is not part of valid UTF-8 replaced by `?`.
std::string replaceInvalidUtf8(std::string_view text);

/// `text` without the UTF-8 byte order mark that it may begin with.
std::string_view skipByteOrderMark(std::string_view text);

/// `text` with A to Z as a to z, whatever the process's locale.
std::string lowerCase(std::string_view text);

/// Replaces every occurrence of `secret` in `text` by asterisks. A secret of fewer than 8 bytes is
/// left alone: it is no protection, and a word that texts contain for other reasons.
void redact(std::string& text, std::string_view secret);

}  // namespace CloudStorage::Util
