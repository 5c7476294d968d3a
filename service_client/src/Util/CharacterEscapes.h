#pragma once

#include <cstddef>
#include <string_view>

namespace CloudStorage::Util {

/// A character of a text, and how many characters of the text write it.
struct WrittenCharacter {
  unsigned code;
  std::size_t size;  ///< 0: the text ends before the character does
};

/// The character with which `text`, which is not empty, begins. What is no escape means itself.
using CharacterReader = WrittenCharacter (*)(std::string_view text);

WrittenCharacter readPlain(std::string_view text);
/// With percent-encoding. The code is that of a byte.
WrittenCharacter readPercentEncoded(std::string_view text);
/// With the escapes of JSON, and those that JavaScript has in addition.
WrittenCharacter readBackslashEscaped(std::string_view text);
/// With the numeric character references of HTML and XML, and the common named ones.
WrittenCharacter readCharacterReference(std::string_view text);

/// The first character of what `inner` reads in what `outer` reads in `text`.
WrittenCharacter readNested(std::string_view text, CharacterReader outer, CharacterReader inner);

/// With one of these every escape begins.
inline constexpr std::string_view kSignsOfEscapes = "%\\&";

/// No escape within an escape is longer, apart from zeros at the beginning of a number.
inline constexpr std::size_t kLongestEscape = 12;

}  // namespace CloudStorage::Util
