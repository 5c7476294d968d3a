#pragma once

#include <string_view>

namespace CloudStorage::CInterface {

/// `text`; empty if it is null.
inline std::string_view textOrEmpty(const char* text) { return text == nullptr ? "" : text; }

inline bool isNullOrEmpty(const char* text) { return textOrEmpty(text).empty(); }

/// Whether `text` is given, and empty.
inline bool isGivenEmpty(const char* text) { return text != nullptr && *text == '\0'; }

}  // namespace CloudStorage::CInterface
