#pragma once

#include <string>
#include <string_view>

#include "CloudStorage/Http/Transport.h"
#include "Util/Text.h"

namespace CloudStorage::Http {

/// Whether `value` can be sent as the value of a header, which a line break or a byte of value 0
/// would split or cut short.
inline bool fitsHeader(std::string_view value) {
  using namespace std::string_view_literals;
  return value.find_first_of("\r\n\0"sv) == std::string_view::npos;
}

/// Whether an answer is JSON as far as its header says. A page that somebody put in between, such
/// as one to log in at, is not.
inline bool mayBeJson(const Response& response) {
  const auto type = response.headers.find(CONTENT_TYPE_HEADER);
  return type == response.headers.end() ||
         Util::lowerCase(type->second).find("json") != std::string::npos;
}

}  // namespace CloudStorage::Http
