#pragma once

#include <ostream>
#include <string>

#include "CloudStorage/Client/CoreErrors.h"
#include "CloudStorage/Http/Headers.h"

namespace CloudStorage::Client {

/// Why a call failed. Texts are one line each and hold no secret.
template <typename ErrorType>
struct WSError {
  ErrorType errorType{};
  /// The error's name as the service or the transport reported it.
  std::string exceptionName;
  std::string message;
  /// The failed answer's headers, names in lower case.
  Http::HeaderValueCollection responseHeaders;
  /// Whether the service's marshaller thinks that sending again could help.
  bool retryable = false;
  /// 0 if there was no answer.
  int httpResponseCode = 0;
};

using Error = WSError<CoreErrors>;

/// The error on one line, as it is logged.
template <typename ErrorType>
std::ostream& operator<<(std::ostream& out, const WSError<ErrorType>& error) {
  return out << "{ Error type: " << static_cast<unsigned>(error.errorType)
             << ", Exception: " << error.exceptionName << ", Message: " << error.message
             << ", HttpResponseCode: " << error.httpResponseCode
             << ", Retryable: " << (error.retryable ? 1 : 0) << " }";
}

}  // namespace CloudStorage::Client
