#pragma once

#include <string>
#include <string_view>

#include "CloudStorage/Http/Transport.h"
#include "Util/Text.h"

namespace CloudStorage::Http {

/// Whether `value` can be sent as the value of a header. A line break would split it, and a NUL
/// would truncate it.
inline bool isValidHeaderValue(std::string_view value) {
  using namespace std::string_view_literals;
  return value.find_first_of("\r\n\0"sv) == std::string_view::npos;
}

/// Whether a response is an HTML page according to its content type. No service sends one as a
/// result; it comes from another source, such as the login page of a network.
inline bool isHtml(const Response& response) {
  const auto type = response.headers.find(CONTENT_TYPE_HEADER);
  return type != response.headers.end() &&
         Util::lowerCase(type->second).find("html") != std::string::npos;
}

/// Whether a response is JSON according to its content type, or has no content type. Detects HTML
/// pages that do not come from the service, such as the login page of a network.
inline bool mayBeJson(const Response& response) {
  const auto type = response.headers.find(CONTENT_TYPE_HEADER);
  return type == response.headers.end() ||
         Util::lowerCase(type->second).find("json") != std::string::npos;
}

}  // namespace CloudStorage::Http
