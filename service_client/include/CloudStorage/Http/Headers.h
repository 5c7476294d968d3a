#pragma once

#include <map>
#include <string>

namespace CloudStorage::Http {

/// Header names and values. Names are lower-case throughout the layer, so lookups compare exactly.
using HeaderValueCollection = std::map<std::string, std::string>;

/// RFC 9110, section 8.3.
inline constexpr char CONTENT_TYPE_HEADER[] = "content-type";

}  // namespace CloudStorage::Http
