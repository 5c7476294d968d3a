#include "Recording/EmailAddresses.h"

#include <algorithm>
#include <charconv>
#include <cstddef>

namespace CloudStorage::Recording {
namespace {

/// A character as it is written in a text.
struct Character {
  unsigned code;
  std::size_t size;
};

constexpr unsigned kFirstBeyondAscii = 0x80;

// The character whose number `digits` at the beginning of `text` state between two signs.
Character numbered(std::string_view text, std::string_view before, std::size_t digits) {
  constexpr int kHexadecimal = 16;
  unsigned code = 0;
  const std::size_t size = before.size() + digits;
  if (text.size() < size || text.substr(0, before.size()) != before) return {0, 0};
  const char* const end = text.data() + size;
  const auto result = std::from_chars(text.data() + before.size(), end, code, kHexadecimal);
  return result.ptr == end ? Character{code, size} : Character{0, 0};
}

Character characterAt(std::string_view text) {
  const Character plain{static_cast<unsigned char>(text.front()), 1};
  Character encoded{0, 0};
  switch (text.front()) {
    case '%':
      encoded = numbered(text, "%", 2);
      break;
    case '\\':
      encoded = numbered(text, "\\u", 4);
      if (encoded.size == 0 && text.size() > 1) encoded = {'\\', 2};  // such as a line break
      break;
    case '&':
      if (text.substr(0, 5) == "&#64;" || text.substr(0, 6) == "&#x40;") {
        encoded = {'@', text.find(';') + 1};
      }
      break;
    default:
      break;
  }
  return encoded.size == 0 ? plain : encoded;
}

bool isLetterOrDigit(unsigned code) {
  return (code >= 'a' && code <= 'z') || (code >= 'A' && code <= 'Z') ||
         (code >= '0' && code <= '9') || code >= kFirstBeyondAscii;
}

bool isOfLocalPart(unsigned code) {
  constexpr std::string_view kSigns = ".!#$'*+-^_`{|}~";
  return isLetterOrDigit(code) ||
         (code < kFirstBeyondAscii && kSigns.find(static_cast<char>(code)) != kSigns.npos);
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
    const Character character = characterAt(text.substr(position));
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

}  // namespace

std::string maskEmailAddresses(std::string_view text, std::string_view mask) {
  std::string masked;
  masked.reserve(text.size());
  std::size_t copied = 0;     // `text` up to here is in `masked`
  std::size_t localPart = 0;  // where the part before an at sign may begin
  for (std::size_t position = 0; position < text.size();) {
    const Character character = characterAt(text.substr(position));
    const std::size_t next = position + character.size;
    const bool isAddress = character.code == '@' && localPart < position;
    const std::size_t domain = isAddress ? domainLength(text.substr(next)) : 0;
    if (domain != 0) {
      masked.append(text.substr(copied, localPart - copied)).append(mask);
      copied = next + domain;
    }
    position = next + domain;
    if (!isOfLocalPart(character.code)) localPart = position;
  }
  return masked.append(text.substr(copied));
}

}  // namespace CloudStorage::Recording
