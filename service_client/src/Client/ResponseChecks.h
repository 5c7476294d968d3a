#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "Client/ErrorMarshalling.h"
#include "CloudStorage/Http/Transport.h"

/// What the parsers of all services check in a response with a success status.
namespace CloudStorage::Client {

/// Whether `response` contains all of what was read. With any other success status the body is
/// incomplete, missing or about something else.
inline bool isWholeResult(const Http::Response& response) { return response.status == 200; }

/// Whether `response` confirms a creation. 206 is for parts of a resource that is read.
inline bool confirmsCreation(const Http::Response& response) {
  constexpr int kPartialContent = 206;
  return response.isSuccessStatus() && response.status != kPartialContent;
}

/// The error for a success status that the operation does not have.
inline Error unexpectedStatus(const Http::Response& response) {
  return malformedResponse("The answer has the status " + std::to_string(response.status));
}

/// The most entries that a page may contain if `asked` entries were requested, and if the request
/// left the number to the service (`asked` is 0 or less). More would be an attack on the memory of
/// this process: a small compressed response can contain millions of empty entries.
inline std::size_t mostEntriesOf(std::int64_t asked) {
  constexpr std::int64_t kFactor = 10;
  constexpr std::size_t kMostUnlessAsked = 100'000;
  if (asked <= 0) return kMostUnlessAsked;
  return static_cast<std::size_t>(asked < INT64_MAX / kFactor ? asked * kFactor : INT64_MAX);
}

/// The error for a page with more than `most` entries.
inline Error tooManyEntries(std::size_t most) {
  return localError("ResponseTooLarge",
                    "The answer has more than " + std::to_string(most) + " entries");
}

}  // namespace CloudStorage::Client
