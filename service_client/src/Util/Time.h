#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace CloudStorage::Util {

using TimePoint = std::chrono::system_clock::time_point;

/// `2024-02-29T08:30:15Z` (ISO 8601, UTC), with or without a fraction, of which six digits count.
/// Empty if the text is anything else or names no day between 1970 and 2261, which is what
/// TimePoint holds.
std::optional<TimePoint> parseIsoTime(std::string_view text);

/// The same the other way round, with six digits of fraction: `2024-02-29T08:30:15.000000Z`.
std::string formatIsoTime(TimePoint time);

/// `Thu, 29 Feb 2024 08:30:15 GMT` (RFC 9110, section 5.6.7, the fixed-length form), whatever the
/// process's locale. Empty if the text is anything else or names no day between 1970 and 2261.
std::optional<TimePoint> parseHttpDate(std::string_view text);
/// The same the other way round.
std::string formatHttpDate(TimePoint time);

}  // namespace CloudStorage::Util
