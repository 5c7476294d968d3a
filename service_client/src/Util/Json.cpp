#include "Util/Json.h"

#include <simdjson.h>

#include <algorithm>

#include "Util/Text.h"

namespace CloudStorage::Util::Json {
namespace {

using simdjson::dom::element;

/// The parser refuses the depth it is given, too: this admits 64.
constexpr std::size_t kDepthLimit = 65;

/// Looked for member by member, because the parser's own look-up stops at the first of several.
bool findMember(simdjson::dom::object object, std::string_view name, element& found) {
  bool exists = false;
  for (const auto member : object) {
    if (member.key != name) continue;
    found = member.value;
    exists = true;
  }
  return exists;
}

bool findElement(simdjson::dom::array array, std::string_view index, element& found) {
  std::size_t position = 0;
  for (const char digit : index) {
    if (digit < '0' || digit > '9') return false;
    position = position * 10 + static_cast<std::size_t>(digit - '0');
  }
  return array.at(position).get(found) == simdjson::SUCCESS;
}

bool descend(element from, std::string_view step, element& found) {
  simdjson::dom::object object;
  if (from.get(object) == simdjson::SUCCESS) return findMember(object, step, found);
  simdjson::dom::array array;
  return from.get(array) == simdjson::SUCCESS && findElement(array, step, found);
}

std::string textAt(element root, std::string_view path) {
  element current = root;
  while (!path.empty()) {
    const std::size_t end = std::min(path.find('/'), path.size());
    element next;
    if (!descend(current, path.substr(0, end), next)) return {};
    current = next;
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  std::string_view value;
  return current.get(value) == simdjson::SUCCESS ? std::string(value) : std::string();
}

}  // namespace

std::vector<std::string> texts(std::string_view body,
                               std::initializer_list<std::string_view> paths) {
  std::vector<std::string> found(paths.size());
  const simdjson::padded_string padded(replaceInvalidUtf8(skipByteOrderMark(body)));
  simdjson::dom::parser parser;
  if (parser.allocate(std::max<std::size_t>(padded.size(), 64), kDepthLimit) != simdjson::SUCCESS) {
    return found;
  }
  element root;
  if (parser.parse(padded).get(root) != simdjson::SUCCESS || !root.is_object()) return found;

  std::transform(paths.begin(), paths.end(), found.begin(),
                 [root](std::string_view path) { return textAt(root, path); });
  return found;
}

}  // namespace CloudStorage::Util::Json
