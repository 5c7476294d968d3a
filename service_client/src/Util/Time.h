#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace CloudStorage::Util {

using TimePoint = std::chrono::system_clock::time_point;

/// Parses `2024-02-29T08:30:15Z` (ISO 8601, UTC), with or without a fraction, of which six digits
/// are used. Returns nothing for any other text and for a time that does not exist or is not
/// between 1970 and 2261, the range of TimePoint.
std::optional<TimePoint> parseIsoTime(std::string_view text);

/// The inverse of parseIsoTime(), with six fractional digits: `2024-02-29T08:30:15.000000Z`.
std::string formatIsoTime(TimePoint time);

/// Parses `Thu, 29 Feb 2024 08:30:15 GMT` (RFC 9110, section 5.6.7, the fixed-length form),
/// independent of the process's locale. Returns nothing in the same cases as parseIsoTime().
std::optional<TimePoint> parseHttpDate(std::string_view text);
/// The inverse of parseHttpDate().
std::string formatHttpDate(TimePoint time);

}  // namespace CloudStorage::Util
