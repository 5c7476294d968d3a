#include "Util/Json.h"

#include <algorithm>
#include <charconv>
#include <new>
#include <stdexcept>
#include <utility>

#include "Util/JsonEscapes.h"
#include "Util/Text.h"

namespace CloudStorage::Util::Json {
namespace {

using simdjson::dom::element;

/// The parser rejects documents of this depth, so the maximum is 64.
constexpr std::size_t kDepthLimit = 65;

/// Finds the last member with this name; the parser's own lookup returns the first.
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

bool follow(std::string_view path, element& current) {
  while (!path.empty()) {
    const std::size_t end = std::min(path.find('/'), path.size());
    element next;
    if (!descend(current, path.substr(0, end), next)) return false;
    current = next;
    path.remove_prefix(std::min(end + 1, path.size()));
  }
  return true;
}

std::string textAt(element root, std::string_view path) {
  std::string_view value;
  const bool isText = follow(path, root) && root.get(value) == simdjson::SUCCESS;
  return isText ? std::string(value) : std::string();
}

std::optional<std::int64_t> numberIn(std::string_view text) {
  std::int64_t value = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc() && stop == end ? std::optional(value) : std::nullopt;
}

std::optional<std::int64_t> numberAt(element root, std::string_view path) {
  if (!follow(path, root)) return std::nullopt;
  std::int64_t value = 0;
  if (root.get(value) == simdjson::SUCCESS) return value;
  std::string_view text;
  return root.get(text) == simdjson::SUCCESS ? numberIn(text) : std::nullopt;
}

/// Calls `read` with the JSON object `body`, unless it is none.
template <typename Read>
void withRoot(std::string_view body, Read read) {
  const simdjson::padded_string padded(replaceInvalidUtf8(skipByteOrderMark(body)));
  if (padded.data() == nullptr) throw std::bad_alloc();  // the constructor does not report it
  simdjson::dom::parser parser;
  if (parser.allocate(std::max<std::size_t>(padded.size(), 64), kDepthLimit) != simdjson::SUCCESS) {
    throw std::bad_alloc();
  }
  element root;
  if (parser.parse(padded).get(root) == simdjson::SUCCESS && root.is_object()) read(root);
}

simdjson::error_code iterate(std::string& body, Parser& parser,
                             simdjson::ondemand::document& root) {
  body.reserve(body.size() + simdjson::SIMDJSON_PADDING);  // the parser reads beyond the end
  const std::string_view text = skipByteOrderMark(body);
  const std::size_t skipped = body.size() - text.size();
  return parser.iterate(text.data(), text.size(), body.capacity() - skipped).get(root);
}

}  // namespace

std::vector<std::string> texts(std::string_view body,
                               std::initializer_list<std::string_view> paths) {
  std::vector<std::string> found(paths.size());
  withRoot(body, [&](element root) {
    std::transform(paths.begin(), paths.end(), found.begin(),
                   [root](std::string_view path) { return textAt(root, path); });
  });
  return found;
}

std::optional<std::int64_t> number(std::string_view body, std::string_view path) {
  std::optional<std::int64_t> found;
  withRoot(body, [&](element root) { found = numberAt(root, path); });
  return found;
}

simdjson::ondemand::document openDocument(std::string& body, Parser& parser, Document& document) {
  simdjson::ondemand::document root;
  auto error = iterate(body, parser, root);
  if (error == simdjson::UTF8_ERROR) {
    document.received = std::exchange(body, replaceInvalidUtf8(body));
    error = iterate(body, parser, root);
  }
  if (error != simdjson::SUCCESS) throw simdjson::simdjson_error(error);
  document.begin = body.data();
  document.isPlain = document.received.empty() && !hasEscape(body);
  return root;
}

void expectEnd(simdjson::ondemand::document& document) {
  // The parser has no other way to report that it has reached the end.
  if (document.current_location().error() != simdjson::OUT_OF_BOUNDS) {
    throw simdjson::simdjson_error(simdjson::TRAILING_CONTENT);
  }
}

void expectOtherType(simdjson::ondemand::value element, simdjson::error_code error) {
  if (error != simdjson::INCORRECT_TYPE) throw simdjson::simdjson_error(error);
  element.type().value();  // throws if there is no value, as after the last comma
}

bool repair(std::string_view& text, const Document& document) {
  const auto position = static_cast<std::size_t>(text.data() - document.begin);
  const bool isValidUtf8 =
      document.received.empty() || document.received.compare(position, text.size(), text) == 0;
  const bool hasNoReplacement = !hasEscape(text) || decodeEscapes(text);
  return isValidUtf8 && hasNoReplacement;
}

void read(Value value, std::string& out) {
  std::string_view text;
  read(value, text);
  out = text;
}

void readToken(Value value, std::string& out) {
  std::string_view text;
  if (!readText(value, text)) throw simdjson::simdjson_error(simdjson::STRING_ERROR);
  out = text;
}

void read(Value value, bool& out) {
  if (value.value.get_bool().get(out) != simdjson::SUCCESS) out = false;
}

void read(Value value, std::int64_t& out) {
  if (value.value.get_int64().get(out) != simdjson::SUCCESS) out = 0;
}

void read(Value value, std::uint64_t& out) { readNumber(value, out); }

bool readNumber(Value value, std::uint64_t& out) {
  auto error = value.value.get_uint64().get(out);
  if (error == simdjson::INCORRECT_TYPE) error = value.value.get_uint64_in_string().get(out);
  if (error != simdjson::SUCCESS) out = 0;
  return error == simdjson::SUCCESS;
}

void read(Value value, IsoTime& out) {
  std::string_view text;
  read(value, text);
  out = IsoTime(text);
}

void readIds(Value value, std::vector<std::string_view>& out) {
  out.clear();
  simdjson::ondemand::array array;
  if (value.value.get_array().get(array) != simdjson::SUCCESS) return;
  for (simdjson::ondemand::value element : array) {
    std::string_view id;
    readId(Value{element, value.document}, id);
    if (!id.empty()) out.push_back(id);
  }
}

ObjectWriter& ObjectWriter::add(std::string_view name, std::string_view value) {
  begin(name);
  quote(value);
  return *this;
}

ObjectWriter& ObjectWriter::add(std::string_view name, bool value) {
  begin(name);
  members_ += value ? "true" : "false";
  return *this;
}

ObjectWriter& ObjectWriter::addList(std::string_view name, std::string_view element) {
  begin(name);
  members_ += '[';
  quote(element);
  members_ += ']';
  return *this;
}

ObjectWriter& ObjectWriter::addEmptyObject(std::string_view name) { return addJson(name, "{}"); }

ObjectWriter& ObjectWriter::addJson(std::string_view name, std::string_view json) {
  begin(name);
  members_ += json;
  return *this;
}

std::string ObjectWriter::text() const {
  if (replaceInvalidUtf8(members_) != members_) {
    throw std::invalid_argument("A text to be sent is not valid UTF-8");
  }
  return '{' + members_ + '}';
}

void ObjectWriter::begin(std::string_view name) {
  if (!members_.empty()) members_ += ',';
  quote(name);
  members_ += ':';
}

void ObjectWriter::quote(std::string_view text) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  members_ += '"';
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20) {
      members_.append("\\u00").append({kDigits[byte >> 4U], kDigits[byte & 0xFU]});
      continue;
    }
    if (c == '"' || c == '\\') members_ += '\\';
    members_ += c;
  }
  members_ += '"';
}

}  // namespace CloudStorage::Util::Json
