#include "Http/PercentEncoding.h"

namespace CloudStorage::Http {
namespace {

bool isUnreserved(char c) {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '.' || c == '_' || c == '~';
}

int hexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

std::string uriEncode(std::string_view bytes, bool keepSlash) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  text.reserve(bytes.size() + bytes.size() / 4);
  for (const char c : bytes) {
    if (isUnreserved(c) || (keepSlash && c == '/')) {
      text += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    text += '%';
    text += kDigits[byte >> 4U];
    text += kDigits[byte & 15U];
  }
  return text;
}

std::string uriDecode(std::string_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size()) {
      const int high = hexValue(text[i + 1]);
      const int low = hexValue(text[i + 2]);
      if (high >= 0 && low >= 0) {
        bytes += static_cast<char>(high * 16 + low);
        i += 2;
        continue;
      }
    }
    bytes += text[i];
  }
  return bytes;
}

}  // namespace CloudStorage::Http
