#include "text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cwchar>

namespace tool {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

struct Character {
  char32_t code;
  bool isValid = true;
};

constexpr Character kInvalid{kReplacement, false};

/// Removes the first character from `rest`, which must not be empty, and returns it. A byte that
/// does not start a well-formed sequence is removed alone.
Character takeCharacter(std::string_view& rest) {
  const auto lead = static_cast<unsigned char>(rest.front());
  rest.remove_prefix(1);
  if (lead < 0x80) return {lead};
  if (lead < 0xC2 || lead > 0xF4) return kInvalid;

  const std::size_t followers = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
  if (rest.size() < followers) return kInvalid;
  char32_t character = lead & (0x3FU >> followers);
  for (const char follower : rest.substr(0, followers)) {
    const auto byte = static_cast<unsigned char>(follower);
    if ((byte & 0xC0U) != 0x80U) return kInvalid;
    character = (character << 6U) | (byte & 0x3FU);
  }

  constexpr std::array<char32_t, 4> kSmallest{0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
  if (character < kSmallest.at(followers) || isSurrogate || character > 0x10FFFF) return kInvalid;
  rest.remove_prefix(followers);
  return {character};
}

/// Control characters, line separators, marks that change the direction of the text, and characters
/// that show nothing. The joiners U+200C and U+200D are not among these: languages and emoji need
/// them.
bool isUnsafe(char32_t character) {
  const auto within = [character](char32_t first, char32_t last) {
    return character >= first && character <= last;
  };
  return within(0x00, 0x1F) || within(0x7F, 0x9F) || character == 0x061C || character == 0x200B ||
         within(0x200E, 0x200F) || within(0x2028, 0x202E) || character == 0x2060 ||
         within(0x2066, 0x2069) || character == 0xFEFF;
}

std::string escape(const char* format, char32_t code) {
  std::array<char, 12> text{};
  std::snprintf(text.data(), text.size(), format, static_cast<unsigned>(code));
  return text.data();
}

/// Removes the first character from `rest` and returns how it is shown.
std::string takePrintable(std::string_view& rest) {
  const std::string_view before = rest;
  const auto [code, isValid] = takeCharacter(rest);
  if (!isValid) return escape("\\x%02x", static_cast<unsigned char>(before.front()));
  if (isUnsafe(code)) return escape(code < 0x80 ? "\\x%02x" : "\\u%04x", code);
  return std::string(before.substr(0, before.size() - rest.size()));
}

/// Removes the first character from `rest` and returns it as it stands in a JSON string.
std::string takeJson(std::string_view& rest) {
  const std::string_view before = rest;
  const auto [code, isValid] = takeCharacter(rest);
  if (!isValid) return u8"\uFFFD";
  if (isUnsafe(code)) return escape("\\u%04x", code);
  const bool isSpecial = code == U'"' || code == U'\\';
  return (isSpecial ? "\\" : "") + std::string(before.substr(0, before.size() - rest.size()));
}

/// Where a broken line continues: below what follows its last two spaces.
std::size_t hangingIndent(std::string_view line) {
  const std::size_t spaces = line.rfind("  ");
  return spaces == std::string_view::npos ? 0 : spaces + 2;
}

std::string wrappedLine(std::string_view line, std::size_t columns, std::size_t indent) {
  indent = std::min(indent, line.size());
  std::string out(line.substr(0, indent));
  line.remove_prefix(indent);
  std::size_t column = indent;
  while (!line.empty()) {
    const std::string_view word = line.substr(0, line.find(' '));
    if (column > indent) {
      const bool fits = column + 1 + word.size() <= columns;
      out += fits ? " " : "\n" + std::string(indent, ' ');
      column = fits ? column + 1 : indent;
    }
    out += word;
    column += word.size();
    line.remove_prefix(std::min(line.size(), word.size() + 1));
  }
  return out;
}

}  // namespace

std::string printable(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    if (text.front() == '\\') out += '\\';
    out += takePrintable(text);
  }
  return out;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    if (!takeCharacter(text).isValid) return false;
  }
  return true;
}

bool isPrintable(std::string_view text) {
  while (!text.empty()) {
    const Character character = takeCharacter(text);
    if (!character.isValid || isUnsafe(character.code)) return false;
  }
  return true;
}

std::string jsonString(std::string_view text) {
  std::string out = "\"";
  while (!text.empty()) out += takeJson(text);
  return out + "\"";
}

std::size_t displayWidth(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) {
    const int columns = wcwidth(static_cast<wchar_t>(takeCharacter(text).code));
    // An unknown character most likely takes one column.
    width += columns < 0 ? 1 : static_cast<std::size_t>(columns);
  }
  return width;
}

std::string wrapped(std::string_view text, std::size_t columns) {
  std::string out;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    out += wrappedLine(line, columns, hangingIndent(line));
    text.remove_prefix(line.size());
    if (text.empty()) break;
    out += '\n';
    text.remove_prefix(1);
  }
  return out;
}

std::string upperCase(std::string word) {
  for (char& letter : word) {
    letter = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
  }
  return word;
}

}  // namespace tool
