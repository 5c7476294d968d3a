#pragma once

#include <chrono>
#include <optional>

#include "CloudStorage/Http/Headers.h"

namespace CloudStorage::Http {

/// After how many seconds a service allows another attempt, rounded up; nothing if the headers of
/// its response do not state it. A time of day counts from the response's own date or, without one,
/// from `now`; a time in the past is 0.
std::optional<std::chrono::seconds> retryAfter(const HeaderValueCollection& headers,
                                               std::chrono::system_clock::time_point now);

}  // namespace CloudStorage::Http
