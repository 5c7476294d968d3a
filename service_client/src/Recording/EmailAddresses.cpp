#include "Recording/EmailAddresses.h"

#include <algorithm>
#include <cstddef>

#include "Util/CharacterEscapes.h"

namespace CloudStorage::Recording {
namespace {

using Util::WrittenCharacter;

constexpr unsigned kFirstBeyondAscii = 0x80;

bool isLetterOrDigit(unsigned code) {
  return (code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z') ||
         (code >= '0' && code <= '9') || code >= kFirstBeyondAscii;
}

Util::CharacterReader readerOf(char first) {
  switch (first) {
    case '%':
      return Util::readPercentEncoded;
    case '\\':
      return Util::readBackslashEscaped;
    case '&':
      return Util::readCharacterReference;
    default:
      return Util::readPlain;
  }
}

bool isOfLocalPart(unsigned code) {
  constexpr std::string_view kSigns = ".!#$'*+-^_`{|}~";
  return isLetterOrDigit(code) ||
         (code < kFirstBeyondAscii && kSigns.find(static_cast<char>(code)) != kSigns.npos);
}

// The character at the beginning of `text`, however it is escaped. Two escapes within each other
// count if they may be a part of an address only: `\\n` in a text is not a line break.
WrittenCharacter characterAt(std::string_view text) {
  const Util::CharacterReader reader = readerOf(text.front());
  const WrittenCharacter nested = Util::readNested(text, reader, reader);
  const WrittenCharacter single = reader(text);
  const bool isNested = nested.size > single.size;
  if (isNested && (nested.code == '@' || isOfLocalPart(nested.code))) return nested;
  return single.size == 0 ? Util::readPlain(text) : single;
}

// The length of the address of a host in brackets at the beginning of `text`; 0 if it is none.
std::size_t hostLiteralLength(std::string_view text) {
  constexpr std::size_t kLongest = 48;
  std::size_t position = 0;
  bool hasSeparator = false;
  for (std::size_t count = 0; position < text.size() && count < kLongest; ++count) {
    const WrittenCharacter character = characterAt(text.substr(position));
    position += character.size;
    const bool isSeparator = character.code == '.' || character.code == ':';
    hasSeparator = hasSeparator || isSeparator;
    if (count == 0 && character.code == '[') continue;
    if (character.code == ']' && hasSeparator) return position;
    if (count == 0 || (!isSeparator && !isLetterOrDigit(character.code))) return 0;
  }
  return 0;
}

// The length of the domain at the beginning of `text`; 0 if it is none of an e-mail address.
std::size_t domainLength(std::string_view text) {
  constexpr std::string_view kAnnotations[] = {"odata.", "microsoft.graph."};
  const bool isAnnotation =
      std::any_of(std::begin(kAnnotations), std::end(kAnnotations),
                  [&](std::string_view name) { return text.substr(0, name.size()) == name; });
  std::size_t length = 0;    // up to the last letter or digit
  std::size_t position = 0;  // beyond the dots that follow it
  bool hasDot = false;
  bool isDomain = false;
  while (!isAnnotation && position < text.size()) {
    const WrittenCharacter character = characterAt(text.substr(position));
    const bool isPart = isLetterOrDigit(character.code);
    if (!isPart && character.code != '.' && character.code != '-') break;
    if (position == 0 && !isPart) break;
    position += character.size;
    hasDot = hasDot || character.code == '.';
    if (isPart) length = position;
    isDomain = isDomain || (isPart && hasDot);
  }
  return isDomain ? length : 0;
}

std::size_t hostLength(std::string_view text) {
  const std::size_t domain = domainLength(text);
  return domain != 0 ? domain : hostLiteralLength(text);
}

/// The last two quotes of a text. Between them may be a local part with signs that no other has.
class Quotes {
 public:
  void add(std::size_t position, std::string_view spelling) {
    before_ = last_;
    last_ = {position, spelling};
  }

  /// Where the part in quotes begins that ends at `position`; `position` if there is none. Quotes
  /// that are written in different ways are not a pair.
  std::size_t beginOf(std::size_t position) const {
    constexpr std::size_t kLongest = 66;
    const std::size_t size = last_.spelling.size();
    const bool isPair = size != 0 && last_.spelling == before_.spelling;
    const bool isEnd = isPair && last_.position + size == position;
    const std::size_t distance = last_.position - before_.position;
    return isEnd && distance > size && distance < kLongest ? before_.position : position;
  }

 private:
  struct Quote {
    std::size_t position = 0;
    std::string_view spelling;
  };
  Quote before_;
  Quote last_;
};

}  // namespace

std::string maskEmailAddresses(std::string_view text, std::string_view mask) {
  std::string masked;
  masked.reserve(text.size());
  std::size_t copied = 0;     // `text` up to here is in `masked`
  std::size_t localPart = 0;  // where the part before an at sign may begin
  Quotes quotes;
  for (std::size_t position = 0; position < text.size();) {
    const WrittenCharacter character = characterAt(text.substr(position));
    const std::size_t next = position + character.size;
    if (character.code == '@' && localPart == position) localPart = quotes.beginOf(position);
    const bool isAddress = character.code == '@' && localPart < position && localPart >= copied;
    const std::size_t host = isAddress ? hostLength(text.substr(next)) : 0;
    if (host != 0) {
      masked.append(text.substr(copied, localPart - copied)).append(mask);
      copied = next + host;
    }
    if (character.code == '"') quotes.add(position, text.substr(position, character.size));
    position = next + host;
    if (!isOfLocalPart(character.code)) localPart = position;
  }
  return masked.append(text.substr(copied));
}

}  // namespace CloudStorage::Recording
