#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace CloudStorage::Util {

using TimePoint = std::chrono::system_clock::time_point;

/// With the range of the texts, from the year 0 to 9999, which a TimePoint does not have.
using UtcTime = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;

/// Parses `2024-02-29T08:30:15Z` or `2024-02-29T10:30:15+02:00` (RFC 3339), with or without a
/// fraction, of which six digits are used. A leap second is the first second of the next minute.
/// Returns nothing for any other text and for a time that does not exist.
std::optional<UtcTime> parseUtcTime(std::string_view text);

/// The same for times from 1970 to 2261. Returns nothing for any other.
std::optional<TimePoint> parseIsoTime(std::string_view text);

/// In UTC with six fractional digits: `2024-02-29T08:30:15.000000Z`.
std::string formatIsoTime(UtcTime time);
std::string formatIsoTime(TimePoint time);

/// Parses `Thu, 29 Feb 2024 08:30:15 GMT` (RFC 9110, section 5.6.7, the fixed-length form),
/// independent of the process's locale. Returns nothing in the same cases as parseIsoTime().
std::optional<TimePoint> parseHttpDate(std::string_view text);
/// The inverse of parseHttpDate().
std::string formatHttpDate(TimePoint time);

}  // namespace CloudStorage::Util
