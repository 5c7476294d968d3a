#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Http/Transport.h"
#include "Util/Text.h"

/// What the error marshallers of all services share. Which failure means what is each service's own
/// table.
namespace CloudStorage::Client {

/// Whether sending a failed request again could help.
enum class Resend {
  Never,
  Reads,  ///< GET and HEAD; anything else may have been carried out and would be doubled
  Always,
};

/// In place of an HTTP status a row may name all statuses, or all with the same first digit.
inline constexpr int kAnyStatus = 0;
inline constexpr int kRedirects = 3;
inline constexpr int kServerErrors = 5;

/// One row of a service's table: what an answer of this status and service code means.
struct ErrorRow {
  int status;
  /// Applies to this code and, where codes are paths, to what lies below it. Empty: to any code.
  std::string_view code;
  CoreErrors type;
  Resend resend;
};

/// A view of a service's rows, of which the first that applies counts.
class ErrorTable {
 public:
  template <std::size_t kSize>
  constexpr ErrorTable(const ErrorRow (&rows)[kSize]) : begin_(rows), end_(rows + kSize) {}

  constexpr const ErrorRow* begin() const { return begin_; }
  constexpr const ErrorRow* end() const { return end_; }

 private:
  const ErrorRow* begin_;
  const ErrorRow* end_;
};

/// What a service said about a failure; empty where it said nothing.
struct ServiceMessage {
  std::string code;
  std::string message;
};

/// The error for a failure of this side, which no repetition cures.
Error localError(std::string_view name, std::string_view message);

/// The error for a request without an answer. Never retryable.
Error transportError(const Http::TransportFailure& failure);

/// The same for the services whose retry strategies repeat what is of type TemporaryFailure and
/// retryable: retryable if the service cannot have carried out the request, or if it was a read.
Error temporaryTransportError(const Http::TransportFailure& failure, Http::Method method);

/// The error for a service's answer. What `table` does not know is judged by its HTTP status alone.
/// Without a code the error is named "HTTP" and the status, without a message it says what the
/// status means.
Error answerError(const Http::Response& response, Http::Method method, const ServiceMessage& said,
                  ErrorTable table);

/// `Code` and `Message` of an XML body with the root `Error`; empty if the body is anything else.
ServiceMessage readXmlError(std::string_view body);

}  // namespace CloudStorage::Client
