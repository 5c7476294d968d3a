#include "Recording/FieldSyntax.h"

#include <algorithm>
#include <string>

namespace CloudStorage::Recording {
namespace {

constexpr Sign kSigns[] = {
    {'=', "="},     {':', ":"},       {'"', "\""},      {'\'', "'"},      {' ', " "},
    {' ', "\t"},    {' ', "\n"},      {' ', "\r"},      {'\\', "\\"},     {'=', "%3D"},
    {'=', "%3d"},   {':', "%3A"},     {':', "%3a"},     {'"', "%22"},     {'"', "&quot;"},
    {'"', "&#34;"}, {'=', "\\u003d"}, {'=', "\\u003D"}, {'"', "\\u0022"}, {' ', "%20"},
    {'=', "%253D"}, {'=', "%253d"},   {':', "%253A"},   {':', "%253a"},   {'"', "%2522"},
    {'\'', "%27"},  {'\'', "&#39;"},  {'\'', "&#x27;"}, {'\'', "&apos;"}, {'"', "&#x22;"},
    {'=', "&#61;"}, {'=', "&#x3D;"},  {'=', "&#x3d;"},
};

bool startsWith(std::string_view text, std::string_view prefix) {
  return text.substr(0, prefix.size()) == prefix;
}

}  // namespace

const Sign* signAt(std::string_view text) {
  const Sign* longest = nullptr;
  for (const Sign& sign : kSigns) {
    if (startsWith(text, sign.spelling) &&
        (longest == nullptr || sign.spelling.size() > longest->spelling.size())) {
      longest = &sign;
    }
  }
  return longest;
}

bool Separator::add(const Sign& sign, char previous) {
  const bool isAssignment = sign.meaning == '=' || sign.meaning == ':';
  const bool isQuote = sign.meaning == '"' || sign.meaning == '\'';
  if (isAssignment && assignment != nullptr) return false;
  if (isAssignment) assignment = &sign;
  if (isQuote && assignment == nullptr) isNameQuoted = true;
  if (isQuote && assignment != nullptr) {
    quote = &sign;
    isQuoteEscaped = previous == '\\';
  }
  size += sign.spelling.size();
  return true;
}

Separator separatorOf(std::string_view text) {
  constexpr std::size_t kLongest = 64;
  Separator separator;
  const Sign* sign = signAt(text);
  char previous = '\0';
  while (sign != nullptr && separator.size < kLongest && separator.quote == nullptr) {
    if (!separator.add(*sign, previous)) break;
    previous = sign->meaning;
    sign = signAt(text.substr(separator.size));
  }
  return separator;
}

std::size_t closingQuote(std::string_view text, const Separator& separator) {
  const std::string_view quote = separator.quote->spelling;
  if (separator.isQuoteEscaped) return text.find(std::string("\\").append(quote));
  std::size_t position = 0;
  while (position < text.size() && !startsWith(text.substr(position), quote)) {
    position += text[position] == '\\' ? 2 : 1;
  }
  return position;
}

std::size_t endOfHeader(std::string_view text, const Separator& separator) {
  const bool isParameter = separator.assignment->meaning == '=';
  return std::min(text.find_first_of(isParameter ? "&\"'<>\r\n\\" : "\"'<>\r\n\\"), text.size());
}

std::size_t endOfBare(std::string_view text, const Separator& separator) {
  const bool isParameter = separator.assignment->meaning == '=';
  constexpr std::string_view kEnds = "&#\"'<> \t\r\n\\,;)}]";
  constexpr std::size_t kEndsOfParameter = 10;
  text =
      text.substr(0, text.find_first_of(isParameter ? kEnds.substr(0, kEndsOfParameter) : kEnds));
  if (separator.assignment->spelling.size() == 1) return text.size();
  for (const std::string_view sign : {"%26", "%22", "%23"}) text = text.substr(0, text.find(sign));
  return text.size();
}

}  // namespace CloudStorage::Recording
