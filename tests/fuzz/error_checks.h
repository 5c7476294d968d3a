#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "CloudStorage/Client/WSErrorMarshaller.h"
#include "Util/Text.h"

/// What must hold of an error whatever the service answered.
namespace ErrorChecks {

inline void require(bool holds) {
  if (!holds) std::abort();
}

inline void checkLine(const std::string& line) {
  require(!line.empty());
  require(line.size() <= 1024);
  require(line == CloudStorage::Util::oneLine(line));
}

/// Marshals `body` as the answer of `status` and checks what comes out.
inline void checkMarshaller(const CloudStorage::Client::WSErrorMarshaller& marshaller, int status,
                            std::string_view body) {
  CloudStorage::Http::Response response;
  response.status = status;
  response.body = body;
  const auto error = marshaller.marshall(response, CloudStorage::Http::Method::Get);
  require(static_cast<std::uint32_t>(error.errorType) > 1);
  require(error.httpResponseCode == status);
  checkLine(error.exceptionName);
  checkLine(error.message);
}

}  // namespace ErrorChecks
