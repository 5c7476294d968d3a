#pragma once

#include <simdjson.h>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "CloudStorage/Util/IsoTime.h"

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

using Object = simdjson::ondemand::object;
using Array = simdjson::ondemand::array;
using Value = simdjson::ondemand::value;
using Member = simdjson::simdjson_result<simdjson::ondemand::field>;

/// A received JSON object that is read once, from front to back. Texts read from it are views that
/// last as long as it does. What turns out not to be JSON throws a simdjson_error, here and below.
class Page {
 public:
  explicit Page(std::string body);
  ~Page();
  Page(const Page&) = delete;
  Page& operator=(const Page&) = delete;

  /// The object, after an optional byte order mark. To be asked for once.
  Object root();
  /// To be called when the object has been read: nothing may follow it.
  void finish();

 private:
  simdjson::ondemand::parser& parserFor(std::size_t size);

  std::string body_;
  std::unique_ptr<simdjson::ondemand::parser> ownParser_;
  simdjson::ondemand::document document_;
};

/// The first quote or backslash from `text` on, which lies in a page. There is one, as no text is
/// left open, and there are bytes behind the page.
inline const char* quoteOrEscape(const char* text) {
#ifdef __SSE2__
  const __m128i quote = _mm_set1_epi8('"');
  const __m128i escape = _mm_set1_epi8('\\');
  for (;; text += sizeof(__m128i)) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const __m128i found = _mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, escape));
    const int mask = _mm_movemask_epi8(found);
    if (mask != 0) return text + __builtin_ctz(static_cast<unsigned>(mask));
  }
#else
  while (*text != '"' && *text != '\\') ++text;
  return text;
#endif
}

/// The parts of the functions below for texts with escapes; nearly all are without.
std::string_view escapedKeyOf(simdjson::ondemand::field member);
void readEscaped(Value value, std::string_view& out);

/// The name of a member.
inline std::string_view keyOf(Member& member) {
  const simdjson::ondemand::raw_json_string key = member.key();
  const char* const start = key.raw();
  const char* const end = quoteOrEscape(start);
  if (*end == '\\') return escapedKeyOf(member.value_unsafe());
  return {start, static_cast<std::size_t>(end - start)};
}

/// The following read one member. What is null or of another kind counts as absent and leaves
/// `out` as it is.

/// Throws also if the text holds a byte of value 0: whoever reads it as a C string would see
/// another text.
void read(Value value, std::string_view& out);
void read(Value value, std::string& out);
void read(Value value, bool& out);
void read(Value value, std::int64_t& out);
/// Takes also a text of digits, as which some services send large numbers.
void read(Value value, std::uint64_t& out);
void read(Value value, IsoTime& out);
/// The texts among the elements.
void read(Value value, std::vector<std::string_view>& out);

/// The same for the member of an object, whose name has been asked for. Inline, and without a Value
/// on its way through the stack, which would take twice as long as the reading.
inline void read(Member& member, std::string_view& out) {
  const char* const token = member.value().raw_json_token().value_unsafe().data();
  if (*token != '"') return;
  const char* const start = token + 1;
  const char* const end = quoteOrEscape(start);
  if (*end == '\\') return readEscaped(member.value(), out);
  out = {start, static_cast<std::size_t>(end - start)};
}
inline void read(Member& member, IsoTime& out) {
  std::string_view text;
  read(member, text);
  out = IsoTime(text);
}
template <typename Out>
void read(Member& member, Out& out) {
  read(Value(member.value()), out);
}

/// Reads an object with `read`, which takes it apart. False if `value` is none.
template <typename Read>
bool readObject(Value value, Read read) {
  Object object;
  if (value.get_object().get(object) != simdjson::SUCCESS) return false;
  read(object);
  return true;
}

/// Reads each object in an array with `read`, which takes it apart. What is neither null nor an
/// array of objects is refused: a list is what an answer is asked for.
template <typename Read>
void readObjects(Value value, Read read) {
  if (value.is_null()) return;
  for (Value element : value.get_array()) read(element.get_object());
}

/// Writes a JSON object member by member. Texts must be valid UTF-8; with any other the object
/// cannot be sent, and text() throws std::invalid_argument.
class ObjectWriter {
 public:
  ObjectWriter& add(std::string_view name, std::string_view value);
  ObjectWriter& add(std::string_view name, bool value);
  /// A list of one text.
  ObjectWriter& addList(std::string_view name, std::string_view element);
  /// An object without members.
  ObjectWriter& addEmptyObject(std::string_view name);

  /// The whole object.
  std::string text() const;

 private:
  void begin(std::string_view name);
  void quote(std::string_view text);

  std::string members_;
};

}  // namespace CloudStorage::Util::Json
