#include "Util/JsonEscapes.h"

#include <simdjson.h>

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <cstring>

namespace CloudStorage::Util::Json {
namespace {

constexpr unsigned kReplacement = 0xFFFD;
constexpr unsigned kFirstHighSurrogate = 0xD800;
constexpr unsigned kFirstLowSurrogate = 0xDC00;
constexpr unsigned kSurrogatesOfAKind = 0x400;
constexpr unsigned kFirstSurrogatePair = 0x10000;

bool isHighSurrogate(unsigned unit) { return unit - kFirstHighSurrogate < kSurrogatesOfAKind; }
bool isLowSurrogate(unsigned unit) { return unit - kFirstLowSurrogate < kSurrogatesOfAKind; }

class Decoder {
 public:
  explicit Decoder(std::string_view text)
      : begin_(const_cast<char*>(text.data())), out_(begin_), rest_(text) {}

  /// Throws if there is an escape that JSON does not have. Returns false if U+FFFD replaces a
  /// character.
  bool run() {
    while (!rest_.empty()) {
      copy(std::min(rest_.find('\\'), rest_.size()));
      if (!rest_.empty()) escape();
    }
    return isExact_;
  }

  std::string_view text() const { return {begin_, static_cast<std::size_t>(out_ - begin_)}; }

 private:
  static constexpr std::size_t kUnitLength = 6;  // "\u0041"

  [[noreturn]] static void fail() { throw simdjson::simdjson_error(simdjson::STRING_ERROR); }

  void copy(std::size_t size) {
    std::memmove(out_, rest_.data(), size);
    out_ += size;
    rest_.remove_prefix(size);
  }

  void escape() {
    if (rest_.size() < 2) fail();
    if (rest_[1] == 'u') return append(codePoint());
    constexpr std::string_view kNames = "\"\\/bfnrt";
    const std::size_t index = kNames.find(rest_[1]);
    if (index == std::string_view::npos) fail();
    *out_++ = "\"\\/\b\f\n\r\t"[index];
    rest_.remove_prefix(2);
  }

  unsigned codePoint() {
    const unsigned unit = takeUnit();
    if (isHighSurrogate(unit) && rest_.substr(0, 2) == "\\u" && isLowSurrogate(peekUnit())) {
      return kFirstSurrogatePair + (unit - kFirstHighSurrogate) * kSurrogatesOfAKind +
             (takeUnit() - kFirstLowSurrogate);
    }
    if (unit != 0 && !isHighSurrogate(unit) && !isLowSurrogate(unit)) return unit;
    isExact_ = false;
    return kReplacement;
  }

  unsigned takeUnit() {
    const unsigned unit = peekUnit();
    rest_.remove_prefix(kUnitLength);
    return unit;
  }

  unsigned peekUnit() const {
    const std::string_view digits = rest_.substr(2, kUnitLength - 2);
    unsigned unit = 0;
    const auto [end, error] =
        std::from_chars(digits.data(), digits.data() + digits.size(), unit, 16);
    if (digits.size() < kUnitLength - 2 || end != digits.data() + digits.size()) fail();
    return unit;
  }

  void append(unsigned codePoint) {
    const auto put = [this](unsigned byte) { *out_++ = static_cast<char>(byte); };
    const auto continuation = [](unsigned bits) { return 0x80U | (bits & 0x3FU); };
    if (codePoint < 0x80) return put(codePoint);
    if (codePoint < 0x800) {
      put(0xC0U | codePoint >> 6U);
    } else {
      if (codePoint < kFirstSurrogatePair) {
        put(0xE0U | codePoint >> 12U);
      } else {
        put(0xF0U | codePoint >> 18U);
        put(continuation(codePoint >> 12U));
      }
      put(continuation(codePoint >> 6U));
    }
    put(continuation(codePoint));
  }

  char* begin_;
  char* out_;
  std::string_view rest_;
  bool isExact_ = true;
};

}  // namespace

bool decodeEscapes(std::string_view& text) {
  Decoder decoder(text);
  const bool isExact = decoder.run();
  text = decoder.text();
  return isExact;
}

}  // namespace CloudStorage::Util::Json
