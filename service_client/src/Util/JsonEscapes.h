#pragma once

#include <string_view>

namespace CloudStorage::Util::Json {

/// Decodes the escapes of one JSON text in place; without them it is never longer. U+FFFD replaces
/// what C strings or UTF-8 cannot represent: NUL and half of a surrogate pair. Returns whether
/// there is none of it. Throws a simdjson_error if JSON has no such escape.
bool decodeEscapes(std::string_view& text);

}  // namespace CloudStorage::Util::Json
