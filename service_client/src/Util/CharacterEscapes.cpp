#include "Util/CharacterEscapes.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>

namespace CloudStorage::Util {
namespace {

constexpr int kDecimal = 10;
constexpr int kHexadecimal = 16;
constexpr unsigned kBytes = 0x100;

// The character whose number all `digits` after the first `before` characters of `text` state.
WrittenCharacter numbered(std::string_view text, std::size_t before, std::size_t digits) {
  const std::size_t size = before + digits;
  if (text.size() < size) return {0, 0};
  unsigned code = 0;
  const char* const end = text.data() + size;
  const auto result = std::from_chars(text.data() + before, end, code, kHexadecimal);
  return result.ptr == end ? WrittenCharacter{code, size} : readPlain(text);
}

struct Name {
  std::string_view name;
  char meaning;
};
constexpr Name kNames[] = {
    {"amp", '&'},  {"apos", '\''},  {"colon", ':'},  {"commat", '@'}, {"equals", '='},
    {"gt", '>'},   {"lowbar", '_'}, {"lt", '<'},     {"nbsp", ' '},   {"num", '#'},
    {"plus", '+'}, {"percnt", '%'}, {"period", '.'}, {"quot", '"'},   {"semi", ';'},
    {"sol", '/'},  {"bsol", '\\'},
};

}  // namespace

WrittenCharacter readPlain(std::string_view text) {
  return {static_cast<unsigned char>(text.front()), 1};
}

WrittenCharacter readPercentEncoded(std::string_view text) {
  return text.front() == '%' ? numbered(text, 1, 2) : readPlain(text);
}

WrittenCharacter readBackslashEscaped(std::string_view text) {
  if (text.front() != '\\') return readPlain(text);
  if (text.size() < 2) return {0, 0};
  if (text[1] == 'u') return numbered(text, 2, 4);
  if (text[1] == 'x') return numbered(text, 2, 2);
  constexpr std::string_view kLetters = "\"'\\/bfnrt";
  constexpr std::string_view kMeanings = "\"'\\/\b\f\n\r\t";
  const auto letter = kLetters.find(text[1]);
  if (letter == std::string_view::npos) return readPlain(text);
  return {static_cast<unsigned char>(kMeanings[letter]), 2};
}

WrittenCharacter readCharacterReference(std::string_view text) {
  constexpr std::size_t kLongest = 12;
  if (text.front() != '&') return readPlain(text);
  const std::size_t end = text.substr(0, kLongest).find_first_of("; ");
  if (end == std::string_view::npos && text.size() < kLongest) return {0, 0};
  if (end == std::string_view::npos || text[end] != ';') return readPlain(text);
  std::string_view inner = text.substr(1, end - 1);
  const auto* const name = std::find_if(std::begin(kNames), std::end(kNames),
                                        [&](const Name& each) { return each.name == inner; });
  if (name != std::end(kNames)) return {static_cast<unsigned char>(name->meaning), end + 1};
  if (inner.empty() || inner.front() != '#') return readPlain(text);
  inner.remove_prefix(1);
  const bool isHexadecimal = !inner.empty() && (inner.front() == 'x' || inner.front() == 'X');
  if (isHexadecimal) inner.remove_prefix(1);
  unsigned code = 0;
  const char* const last = inner.data() + inner.size();
  const auto result =
      std::from_chars(inner.data(), last, code, isHexadecimal ? kHexadecimal : kDecimal);
  const bool isNumber = result.ec == std::errc() && result.ptr == last;
  return isNumber ? WrittenCharacter{code, end + 1} : readPlain(text);
}

WrittenCharacter readNested(std::string_view text, CharacterReader outer, CharacterReader inner) {
  const WrittenCharacter first = outer(text);
  const bool isSign = first.size != 0 && first.code < kBytes &&
                      kSignsOfEscapes.find(static_cast<char>(first.code)) != std::string_view::npos;
  if (!isSign) return first;

  std::array<char, kLongestEscape> read{};
  std::array<std::size_t, kLongestEscape + 1> ends{};  // of the characters in `text`
  std::size_t count = 0;
  for (std::size_t end = 0; count < read.size() && end < text.size(); ++count) {
    const WrittenCharacter character = outer(text.substr(end));
    if (character.size == 0 || character.code >= kBytes) break;
    end += character.size;
    read.at(count) = static_cast<char>(character.code);
    ends.at(count + 1) = end;
  }
  const WrittenCharacter meaning = inner({read.data(), count});
  return {meaning.code, ends.at(meaning.size)};
}

}  // namespace CloudStorage::Util
