#pragma once

#include <chrono>
#include <string>

#include "CloudStorage/Http/Transport.h"
#include "Recording/ExchangeRedactor.h"

namespace CloudStorage::Recording {

/// One request and what came of it.
struct Exchange {
  const Http::Request& request;
  const Http::Response& response;
  std::chrono::system_clock::time_point begin;
  std::chrono::microseconds duration;
};

/// The entry of a HAR file, in JSON. A response that did not arrive has the status 0 and the reason
/// in `_error`. Sizes are those before the redaction.
std::string harEntry(const Exchange& exchange, const ExchangeRedactor& redactor);

}  // namespace CloudStorage::Recording
