#pragma once

#include <string>
#include <string_view>

namespace CloudStorage::Http {

/// Percent-encodes every byte except the unreserved characters of RFC 3986, section 2.3, with
/// upper-case digits; with `keepSlash`, slashes are not encoded either. Paths, queries and forms
/// are all encoded by this function, both for requests and for signatures.
std::string uriEncode(std::string_view bytes, bool keepSlash);

/// Decodes percent-encoding. A `%` that is not followed by two hexadecimal digits is kept.
std::string uriDecode(std::string_view text);

}  // namespace CloudStorage::Http
