#pragma once

#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace CloudStorage::Util::Json {

/// The strings at `paths` in the JSON object `body`, one for each path in its order. A path is
/// member names joined with slashes, with a number for an element of an array:
/// "error/errors/0/reason". Of members with the same name the last one counts.
///
/// Made for error answers, of which anything may be missing: what is not there, or is no string, or
/// all of it if `body` is no JSON object (after an optional byte order mark), if something follows
/// the object or if it is nested deeper than 64, reads as an empty text. Invalid UTF-8 is replaced.
std::vector<std::string> texts(std::string_view body,
                               std::initializer_list<std::string_view> paths);

}  // namespace CloudStorage::Util::Json
