#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "CloudStorage/Client/WSErrorMarshaller.h"
#include "Util/Text.h"

/// Invariants of an error, whatever the response.
namespace ErrorChecks {

inline void require(bool holds) {
  if (!holds) std::abort();
}

inline void checkLine(const std::string& line) {
  require(!line.empty());
  require(line.size() <= 1024);
  require(line == CloudStorage::Util::oneLine(line));
}

/// A text of any length, which is truncated after secrets have been redacted in it.
inline void checkLongLine(const std::string& line) {
  require(line == CloudStorage::Util::oneLine(line, std::string::npos));
}

/// Marshals a response with `status` and `body` and checks the error.
inline void checkMarshaller(const CloudStorage::Client::WSErrorMarshaller& marshaller, int status,
                            std::string_view body) {
  CloudStorage::Http::Response response;
  response.status = status;
  response.body = body;
  const auto error = marshaller.marshall(response, CloudStorage::Http::Method::Get);
  require(static_cast<std::uint32_t>(error.errorType) > 1);
  require(error.httpResponseCode == status);
  require(!error.exceptionName.empty());
  checkLongLine(error.exceptionName);
  checkLongLine(error.message);
}

}  // namespace ErrorChecks
