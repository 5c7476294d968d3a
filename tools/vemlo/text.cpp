#include "text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cwchar>

namespace tool {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

/// Removes the first character from `rest`, which must not be empty, and returns it. Returns U+FFFD
/// for a byte that does not start a well-formed sequence.
char32_t takeCharacter(std::string_view& rest) {
  const auto lead = static_cast<unsigned char>(rest.front());
  rest.remove_prefix(1);
  if (lead < 0x80) return lead;
  if (lead < 0xC2 || lead > 0xF4) return kReplacement;

  const std::size_t followers = lead < 0xE0 ? 1 : lead < 0xF0 ? 2 : 3;
  if (rest.size() < followers) return kReplacement;
  char32_t character = lead & (0x3FU >> followers);
  for (const char follower : rest.substr(0, followers)) {
    const auto byte = static_cast<unsigned char>(follower);
    if ((byte & 0xC0U) != 0x80U) return kReplacement;
    character = (character << 6U) | (byte & 0x3FU);
  }

  constexpr std::array<char32_t, 4> kSmallest{0, 0x80, 0x800, 0x10000};
  const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
  if (character < kSmallest.at(followers) || isSurrogate || character > 0x10FFFF) {
    return kReplacement;
  }
  rest.remove_prefix(followers);
  return character;
}

/// Control characters, line separators, and marks that change the direction of the text.
bool isUnsafe(char32_t character) {
  const auto within = [character](char32_t first, char32_t last) {
    return character >= first && character <= last;
  };
  return within(0x00, 0x1F) || within(0x7F, 0x9F) || character == 0x061C ||
         within(0x200E, 0x200F) || within(0x2028, 0x202E) || within(0x2066, 0x2069);
}

void appendEscape(std::string& out, char32_t character) {
  std::array<char, 12> escape{};
  std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(character));
  out += escape.data();
}

/// Moves the next character from `rest` to `out`, escaped if it is unsafe.
void appendNext(std::string& out, std::string_view& rest) {
  const std::string_view before = rest;
  const char32_t character = takeCharacter(rest);
  if (isUnsafe(character)) {
    appendEscape(out, character);
  } else if (character == kReplacement) {
    out += u8"\uFFFD";
  } else {
    out += before.substr(0, before.size() - rest.size());
  }
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
  while (!text.empty()) appendNext(out, text);
  return out;
}

std::string jsonString(std::string_view text) {
  std::string out = "\"";
  while (!text.empty()) {
    if (text.front() == '"' || text.front() == '\\') out += '\\';
    appendNext(out, text);
  }
  return out + "\"";
}

std::size_t displayWidth(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) {
    const int columns = wcwidth(static_cast<wchar_t>(takeCharacter(text)));
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
