#pragma once

#include <string>
#include <string_view>

namespace CloudStorage::Http {

/// Percent-encodes every byte but the unreserved ones of RFC 3986, section 2.3, with upper-case
/// digits; with `keepSlash` slashes stay, too. The one encoder for paths, queries and forms, on the
/// wire as in signatures.
std::string uriEncode(std::string_view bytes, bool keepSlash);

/// Undoes percent-encoding. A `%` that two hexadecimal digits do not follow stays as it is.
std::string uriDecode(std::string_view text);

}  // namespace CloudStorage::Http
