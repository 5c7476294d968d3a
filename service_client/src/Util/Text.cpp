#include "Util/Text.h"

#include <algorithm>

namespace CloudStorage::Util {
namespace {

constexpr char kReplacement = '?';
constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";  // U+FFFD
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

unsigned char byteAt(std::string_view text, std::size_t index) {
  return static_cast<unsigned char>(text[index]);
}

struct SequenceStart {
  std::size_t length;  // 0: no valid sequence begins with this byte
  unsigned char secondMin;
  unsigned char secondMax;
};

/// The bounds of the second byte exclude overlong forms, surrogates and characters beyond U+10FFFF
/// (RFC 3629, section 4).
SequenceStart sequenceStart(unsigned char first) {
  if (first < 0x80) return {1, 0, 0};
  if (first < 0xC2) return {0, 0, 0};
  if (first < 0xE0) return {2, 0x80, 0xBF};
  if (first == 0xE0) return {3, 0xA0, 0xBF};
  if (first == 0xED) return {3, 0x80, 0x9F};
  if (first < 0xF0) return {3, 0x80, 0xBF};
  if (first == 0xF0) return {4, 0x90, 0xBF};
  if (first < 0xF4) return {4, 0x80, 0xBF};
  if (first == 0xF4) return {4, 0x80, 0x8F};
  return {0, 0, 0};
}

/// The length in bytes of the first character of `text`; 0 if it is not valid or `text` is empty.
std::size_t characterLength(std::string_view text) {
  if (text.empty()) return 0;
  const SequenceStart start = sequenceStart(byteAt(text, 0));
  if (start.length < 2) return start.length;
  if (text.size() < start.length) return 0;
  if (byteAt(text, 1) < start.secondMin || byteAt(text, 1) > start.secondMax) return 0;
  for (std::size_t index = 2; index < start.length; ++index) {
    if ((byteAt(text, index) & 0xC0) != 0x80) return 0;
  }
  return start.length;
}

bool isLineBreakOrTab(std::string_view character) {
  if (character.size() == 1) return character[0] >= '\t' && character[0] <= '\r';
  return character == "\xC2\x85" ||      // next line
         character == "\xE2\x80\xA8" ||  // line separator
         character == "\xE2\x80\xA9";    // paragraph separator
}

/// Includes U+0080 to U+009F, which terminals interpret as control characters, too.
bool isControl(std::string_view character) {
  if (character.size() == 1) return byteAt(character, 0) < 0x20 || character[0] == 0x7F;
  return character.size() == 2 && byteAt(character, 0) == 0xC2 && byteAt(character, 1) < 0xA0;
}

}  // namespace

std::string oneLine(std::string_view text, std::size_t limit) {
  std::string line;
  bool inBreak = false;
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    std::string_view character = text.substr(0, std::max<std::size_t>(length, 1));
    text.remove_prefix(character.size());

    const bool isBreak = length != 0 && isLineBreakOrTab(character);
    const bool continuesBreak = isBreak && inBreak;
    inBreak = isBreak;
    if (continuesBreak) continue;

    if (isBreak) {
      character = " ";
    } else if (length == 0 || isControl(character)) {
      character = std::string_view(&kReplacement, 1);
    }
    if (line.empty() && character == " ") continue;
    if (line.size() + character.size() > limit) break;
    line += character;
  }
  line.erase(line.find_last_not_of(' ') + 1);
  return line;
}

std::string replaceInvalidUtf8(std::string_view text) {
  std::string valid;
  valid.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = characterLength(text);
    if (length == 0) {
      valid += kReplacement;
      text.remove_prefix(1);
    } else {
      valid += text.substr(0, length);
      text.remove_prefix(length);
    }
  }
  return valid;
}

std::string toName(std::string_view bytes) {
  std::string name;
  name.reserve(bytes.size());
  while (!bytes.empty()) {
    const std::size_t length = characterLength(bytes);
    const bool isKept = length != 0 && bytes.front() != '\0';
    name += isKept ? bytes.substr(0, length) : kReplacementCharacter;
    bytes.remove_prefix(isKept ? length : 1);
  }
  return name;
}

std::string_view skipByteOrderMark(std::string_view text) {
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) {
    text.remove_prefix(kByteOrderMark.size());
  }
  return text;
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kWhiteSpace = " \t\r\n";
  const auto first = text.find_first_not_of(kWhiteSpace);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}

std::string lowerCase(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return lower;
}

}  // namespace CloudStorage::Util
