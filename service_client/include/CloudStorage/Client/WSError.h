#pragma once

#include <ostream>
#include <string>

#include "CloudStorage/Client/CoreErrors.h"
#include "CloudStorage/Client/FailureKind.h"
#include "CloudStorage/Http/Headers.h"

namespace CloudStorage::Client {

/// The reason why a call failed. Each text is one line and contains no secret.
template <typename ErrorType>
struct WSError {
  ErrorType errorType{};
  /// The error's name as the service or the transport reported it.
  std::string exceptionName;
  std::string message;
  /// The headers of the failed response, with lower-case names.
  Http::HeaderValueCollection responseHeaders;
  /// Whether a retry could help, according to the service's error marshaller.
  bool retryable = false;
  /// 0 if there was no response.
  int httpResponseCode = 0;
  /// What can be done about the failure. Not part of the logged form.
  FailureKind kind = FailureKind::None;
  /// What the service calls the request in its own logs; empty if it did not say. Not part of the
  /// logged form.
  std::string requestId{};
};

using Error = WSError<CoreErrors>;

/// The error on one line, as it is logged. Numbers are written without the separators that the
/// stream's locale may have.
template <typename ErrorType>
std::ostream& operator<<(std::ostream& out, const WSError<ErrorType>& error) {
  return out << "{ Error type: " << std::to_string(static_cast<unsigned>(error.errorType))
             << ", Exception: " << error.exceptionName << ", Message: " << error.message
             << ", HttpResponseCode: " << std::to_string(error.httpResponseCode)
             << ", Retryable: " << (error.retryable ? "1" : "0") << " }";
}

}  // namespace CloudStorage::Client
