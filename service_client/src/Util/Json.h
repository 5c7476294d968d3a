#pragma once

#include <simdjson.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <initializer_list>
#include <memory>
#include <optional>
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

/// The whole number at `path` in `body`, also if it is the content of a string. Nothing if there is
/// none; the conditions are those of texts().
std::optional<std::int64_t> number(std::string_view body, std::string_view path);

/// The following read a received JSON object once, from front to back. Texts are views into the
/// text that was parsed. Input that is not JSON throws a simdjson_error.

/// Allocates several times the size of the text that it parses. It can be reused once the previous
/// text has been read.
using Parser = simdjson::ondemand::parser;

/// What the texts of a document may need before they can be handed out. Most documents are plain:
/// they are valid UTF-8 and contain no escapes, so their texts need not be checked one by one.
struct Document {
  bool isPlain = true;
  /// The text that is parsed.
  const char* begin = nullptr;
  /// The text that was received if it is not valid UTF-8; otherwise empty. A question mark replaces
  /// each invalid byte, so it has the same size as the text that is parsed.
  std::string received{};
};

/// A value to be read before the iteration continues; otherwise it is skipped.
struct Value {
  simdjson::ondemand::value value;
  const Document* document;
};

struct Member {
  std::string_view key;
  Value value;
};

/// The members of an object, for a range-based for loop.
class Object {
 public:
  Object(simdjson::ondemand::object object, const Document& document)
      : object_(object), document_(&document) {}

  class Iterator {
   public:
    Iterator(simdjson::simdjson_result<simdjson::ondemand::object_iterator> position,
             const Document* document)
        : position_(position), document_(document) {}

    Member operator*();
    [[gnu::always_inline]] Iterator& operator++() {
      ++position_;
      return *this;
    }
    bool operator!=(const Iterator& other) const { return position_ != other.position_; }

   private:
    simdjson::simdjson_result<simdjson::ondemand::object_iterator> position_;
    const Document* document_;
  };

  Iterator begin() { return {object_.begin(), document_}; }
  Iterator end() { return {object_.end(), document_}; }

 private:
  simdjson::ondemand::object object_;
  const Document* document_;
};

/// Calls `read` with the JSON object in `body`, which may begin with a byte order mark. Escapes are
/// decoded in place, and invalid UTF-8 is replaced, so `body` changes. It must outlive the texts
/// that were read. Throws if anything follows the object.
template <typename Read>
void parse(std::string& body, Parser& parser, Read read);

/// The following read one value. One that is null or of another type counts as absent: `out`
/// becomes empty. If several members have the same name, the last one counts.

/// A text cannot be handed out as it is if it contains a NUL, which would truncate it as a C
/// string, half of a surrogate pair, or invalid UTF-8. U+FFFD replaces the first two, a question
/// mark each invalid byte.
void read(Value value, std::string_view& out);
void read(Value value, std::string& out);
/// Reads a text that is an address, such as an id: one that cannot be handed out as it is counts as
/// absent, because a replacement would address something else.
void readId(Value value, std::string_view& out);
/// Reads a text that the next request depends on. Throws if it cannot be handed out as it is.
void readToken(Value value, std::string& out);

void read(Value value, bool& out);
void read(Value value, std::int64_t& out);
/// Also accepts a text of digits, the form in which some services send large numbers.
void read(Value value, std::uint64_t& out);
/// The same. Returns false if the number is absent.
bool readNumber(Value value, std::uint64_t& out);
void read(Value value, IsoTime& out);
/// Reads those elements that are ids and not empty.
void readIds(Value value, std::vector<std::string_view>& out);

/// Throws unless `error`, the result of reading `element` as an object, means that it is a value of
/// another type.
void expectOtherType(simdjson::ondemand::value element, simdjson::error_code error);

inline bool isObject(Value value) {
  return value.value.type() == simdjson::ondemand::json_type::object;
}

/// Calls `read` with the object in `value`. Returns false if `value` is not an object.
template <typename Read>
bool readObject(Value value, Read read) {
  simdjson::ondemand::object object;
  if (value.value.get_object().get(object) != simdjson::SUCCESS) return false;
  read(Object(object, *value.document));
  return true;
}

/// Thrown for a list with more elements than the caller accepts.
struct TooManyElements : std::exception {
  explicit TooManyElements(std::size_t most) : limit(most) {}
  const char* what() const noexcept override { return "The list has too many elements"; }

  std::size_t limit;
};

/// Calls `read` with each object of the array in `value`. Elements of other types are left out, but
/// count, too: throws TooManyElements if there are more than `limit`. Returns false if `value` is
/// null. Throws if it is anything else, because the request was made for the list.
template <typename Read>
bool readObjects(Value value, std::size_t limit, Read read) {
  if (value.value.is_null()) return false;
  std::size_t count = 0;
  for (simdjson::ondemand::value element : value.value.get_array()) {
    if (++count > limit) throw TooManyElements(limit);
    simdjson::ondemand::object object;
    if (const auto error = element.get_object().get(object); error != simdjson::SUCCESS) {
      expectOtherType(element, error);
      continue;
    }
    read(Object(object, *value.document));
  }
  return true;
}

// Implementation. Inline where it runs for every text of a listing.

/// The text before the last quote in `text`, which begins after the opening quote and extends to
/// the next token. Spaces may separate the closing quote from that token.
inline std::string_view untilClosingQuote(std::string_view text) {
  return text.substr(0, text.rfind('"'));
}
inline bool hasEscape(std::string_view text) { return text.find('\\') != std::string_view::npos; }
/// Whether `text` can be handed out as it is in `document`.
inline bool isPlain(std::string_view text, const Document& document) {
  return document.isPlain || (document.received.empty() && !hasEscape(text));
}
/// Turns `text`, which is not plain, into what can be handed out. Returns whether that is what was
/// received.
bool repair(std::string_view& text, const Document& document);

// Without the attribute the compiler calls it in the loop over Amazon Drive's nodes, whose listing
// then takes a fifth more of the processor's time. The same holds for the operator above.
[[gnu::always_inline]] inline Member Object::Iterator::operator*() {
  simdjson::ondemand::field field = *position_;
  const simdjson::ondemand::value value = field.value();
  const char* const start = field.key().raw();
  const char* const end = simdjson::ondemand::value(value).raw_json_token().data();
  std::string_view key = untilClosingQuote({start, static_cast<std::size_t>(end - start)});
  if (!isPlain(key, *document_)) repair(key, *document_);
  return {key, {value, document_}};
}

/// Reads a text into `out`. Returns whether it is what was received.
inline bool readText(Value value, std::string_view& out) {
  const std::string_view token = value.value.raw_json_token();
  if (*token.data() != '"') {
    out = {};
    return true;
  }
  out = untilClosingQuote(token.substr(1));
  return isPlain(out, *value.document) || repair(out, *value.document);
}

inline void read(Value value, std::string_view& out) { readText(value, out); }

inline void readId(Value value, std::string_view& out) {
  if (!readText(value, out)) out = {};
}

/// The document in `body`. Reserves the padding that the parser needs after the text.
simdjson::ondemand::document openDocument(std::string& body, Parser& parser, Document& document);
/// Throws unless all of `document` has been read.
void expectEnd(simdjson::ondemand::document& document);

template <typename Read>
void parse(std::string& body, Parser& parser, Read read) {
  Document document;
  auto root = openDocument(body, parser, document);
  read(Object(root.get_object(), document));
  expectEnd(root);
}

/// Writes a JSON object member by member. Texts must be valid UTF-8; otherwise text() throws
/// std::invalid_argument.
class ObjectWriter {
 public:
  ObjectWriter& add(std::string_view name, std::string_view value);
  ObjectWriter& add(std::string_view name, bool value);
  /// Otherwise a literal would be a bool.
  ObjectWriter& add(std::string_view name, const char* value) {
    return add(name, std::string_view(value));
  }
  template <typename T>
  ObjectWriter& addIfPresent(std::string_view name, const Field<T>& field) {
    return field.isPresent() ? add(name, field.value()) : *this;
  }
  /// Adds a list with one text.
  ObjectWriter& addList(std::string_view name, std::string_view element);
  /// Adds an object without members.
  ObjectWriter& addEmptyObject(std::string_view name);
  /// Adds `json` as it is.
  ObjectWriter& addJson(std::string_view name, std::string_view json);

  /// The whole object.
  std::string text() const;

 private:
  void begin(std::string_view name);
  void quote(std::string_view text);

  std::string members_;
};

}  // namespace CloudStorage::Util::Json
