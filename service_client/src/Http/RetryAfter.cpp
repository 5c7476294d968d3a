#include "Http/RetryAfter.h"

#include <charconv>
#include <cstdint>
#include <string_view>
#include <system_error>

#include "Util/Time.h"

namespace CloudStorage::Http {
namespace {

using std::chrono::seconds;

/// The same for a time in milliseconds.
constexpr char kMillisecondsHeader[] = "x-ms-retry-after-ms";

std::string_view valueOf(const HeaderValueCollection& headers, const char* name) {
  const auto header = headers.find(name);
  return header == headers.end() ? std::string_view() : std::string_view(header->second);
}

// Reads the digits at the beginning of `text` and removes them.
std::optional<std::int64_t> takeNumber(std::string_view& text) {
  std::int64_t number = 0;
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || number < 0 || text.front() == '-') return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(rest - text.data()));
  return number;
}

// "120"; some services also send fractions, as in "2.128".
std::optional<seconds> parseSeconds(std::string_view text) {
  const auto whole = takeNumber(text);
  if (!whole) return std::nullopt;
  if (text.empty()) return seconds(*whole);
  if (text.front() != '.') return std::nullopt;
  const std::string_view fraction = text.substr(1);
  if (fraction.find_first_not_of("0123456789") != std::string_view::npos) return std::nullopt;
  const bool isZero = fraction.find_first_not_of('0') == std::string_view::npos;
  return seconds(isZero || *whole == INT64_MAX ? *whole : *whole + 1);
}

std::optional<seconds> parseMilliseconds(std::string_view text) {
  const auto number = takeNumber(text);
  if (!number || !text.empty()) return std::nullopt;
  constexpr std::int64_t kPerSecond = 1000;
  return seconds(*number / kPerSecond + (*number % kPerSecond == 0 ? 0 : 1));
}

}  // namespace

std::optional<seconds> retryAfter(const HeaderValueCollection& headers,
                                  std::chrono::system_clock::time_point now) {
  const std::string_view text = valueOf(headers, "retry-after");
  if (const auto period = parseSeconds(text)) return period;
  if (const auto time = Util::parseHttpDate(text)) {
    const auto begin = Util::parseHttpDate(valueOf(headers, "date")).value_or(now);
    return *time <= begin ? seconds(0) : std::chrono::ceil<seconds>(*time - begin);
  }
  return parseMilliseconds(valueOf(headers, kMillisecondsHeader));
}

}  // namespace CloudStorage::Http
