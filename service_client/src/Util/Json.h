#pragma once

#include <simdjson.h>

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "CloudStorage/Util/Field.h"
#include "CloudStorage/Util/IsoTime.h"

namespace CloudStorage::Util::Json {

/// The strings at `paths` in the JSON object `body`, one per path and in the order of the paths. A
/// path consists of member names joined with slashes, with a number for an element of an array:
/// "error/errors/0/reason". If several members have the same name, the last one is used.
///
/// Made for error responses, of which any part may be missing. The result is an empty text for a
/// path that does not exist or whose value is not a string. It is empty for all paths if `body` is
/// not a JSON object (after an optional byte order mark), if anything follows the object, or if the
/// object is nested deeper than 64 levels. Invalid UTF-8 is replaced.
std::vector<std::string> texts(std::string_view body,
                               std::initializer_list<std::string_view> paths);

/// The following read a received JSON object once, from front to back. Texts are views into the
/// text that was parsed. Input that is not JSON throws a simdjson_error.

/// Allocates several times the size of the text that it parses. It can be reused once the previous
/// text has been read.
using Parser = simdjson::ondemand::parser;

/// A value to be read before the iteration continues; otherwise it is skipped.
struct Value {
  simdjson::ondemand::value value;
  /// Whether the document contains a backslash. Most contain none, so their texts need not be
  /// searched for escapes one by one.
  bool mayHaveEscapes;
};

struct Member {
  std::string_view key;
  Value value;
};

/// The members of an object, for a range-based for loop.
class Object {
 public:
  Object(simdjson::ondemand::object object, bool mayHaveEscapes)
      : object_(object), mayHaveEscapes_(mayHaveEscapes) {}

  class Iterator {
   public:
    Iterator(simdjson::simdjson_result<simdjson::ondemand::object_iterator> position,
             bool mayHaveEscapes)
        : position_(position), mayHaveEscapes_(mayHaveEscapes) {}

    Member operator*();
    Iterator& operator++() {
      ++position_;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return position_ != other.position_; }

   private:
    simdjson::simdjson_result<simdjson::ondemand::object_iterator> position_;
    bool mayHaveEscapes_;
  };

  Iterator begin() { return {object_.begin(), mayHaveEscapes_}; }
  Iterator end() { return {object_.end(), mayHaveEscapes_}; }

 private:
  simdjson::ondemand::object object_;
  bool mayHaveEscapes_;
};

/// Calls `read` with the JSON object in `body`, which may begin with a byte order mark. Escapes are
/// decoded in place, so `body` changes, and it must outlive the texts that were read. Throws if
/// anything follows the object.
template <typename Read>
void parse(std::string& body, Parser& parser, Read read);

/// The following read one value. One that is null or of another type counts as absent and leaves
/// `out` as it is.

/// Also throws if the text contains a NUL, which would truncate it as a C string.
void read(Value value, std::string_view& out);
void read(Value value, std::string& out);
void read(Value value, bool& out);
void read(Value value, std::int64_t& out);
/// Also accepts a text of digits, the form in which some services send large numbers.
void read(Value value, std::uint64_t& out);
void read(Value value, IsoTime& out);
/// Reads those elements that are texts and not empty.
void read(Value value, std::vector<std::string_view>& out);

inline bool isObject(Value value) {
  return value.value.type() == simdjson::ondemand::json_type::object;
}

/// Calls `read` with the object in `value`. Returns false if `value` is not an object.
template <typename Read>
bool readObject(Value value, Read read) {
  simdjson::ondemand::object object;
  if (value.value.get_object().get(object) != simdjson::SUCCESS) return false;
  read(Object(object, value.mayHaveEscapes));
  return true;
}

/// Calls `read` with each object of the array in `value`; null is an empty array. Throws if `value`
/// is anything else, because the request was made for the list.
template <typename Read>
void readObjects(Value value, Read read) {
  if (value.value.is_null()) return;
  for (simdjson::ondemand::value element : value.value.get_array()) {
    read(Object(element.get_object(), value.mayHaveEscapes));
  }
}

// Implementation. Inline where it runs for every text of a listing.

/// The text before the last quote in `text`, which begins after the opening quote and extends to
/// the next token. Spaces may separate the closing quote from that token.
inline std::string_view untilClosingQuote(std::string_view text) {
  return text.substr(0, text.rfind('"'));
}
inline bool hasEscape(std::string_view text) { return text.find('\\') != std::string_view::npos; }
void readEscaped(simdjson::ondemand::value value, std::string_view& out);

inline Member Object::Iterator::operator*() {
  simdjson::ondemand::field field = *position_;
  const simdjson::ondemand::value value = field.value();
  const char* const start = field.key().raw();
  const char* const end = simdjson::ondemand::value(value).raw_json_token().data();
  std::string_view key = untilClosingQuote({start, static_cast<std::size_t>(end - start)});
  if (mayHaveEscapes_ && hasEscape(key)) key = field.unescaped_key();
  return {key, {value, mayHaveEscapes_}};
}

inline void read(Value value, std::string_view& out) {
  const std::string_view token = value.value.raw_json_token();
  if (*token.data() != '"') return;
  const std::string_view text = untilClosingQuote(token.substr(1));
  if (value.mayHaveEscapes && hasEscape(text)) return readEscaped(value.value, out);
  out = text;
}

/// The document in `body`. Reserves the padding that the parser needs after the text.
simdjson::ondemand::document openDocument(std::string& body, Parser& parser);
/// Throws unless all of `document` has been read.
void expectEnd(simdjson::ondemand::document& document);

template <typename Read>
void parse(std::string& body, Parser& parser, Read read) {
  const bool mayHaveEscapes = hasEscape(body);
  auto document = openDocument(body, parser);
  read(Object(document.get_object(), mayHaveEscapes));
  expectEnd(document);
}

/// Writes a JSON object member by member. Texts must be valid UTF-8; otherwise text() throws
/// std::invalid_argument.
class ObjectWriter {
 public:
  ObjectWriter& add(std::string_view name, std::string_view value);
  ObjectWriter& add(std::string_view name, bool value);
  template <typename T>
  ObjectWriter& addIfPresent(std::string_view name, const Field<T>& field) {
    return field.isPresent() ? add(name, field.value()) : *this;
  }
  /// Adds a list with one text.
  ObjectWriter& addList(std::string_view name, std::string_view element);
  /// Adds an object without members.
  ObjectWriter& addEmptyObject(std::string_view name);

  /// The whole object.
  std::string text() const;

 private:
  void begin(std::string_view name);
  void quote(std::string_view text);

  std::string members_;
};

}  // namespace CloudStorage::Util::Json
