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

/// Whether a retry of a failed request could help.
enum class Retry {
  Never,
  Reads,  ///< GET and HEAD; anything else may have been carried out and would be doubled
  Always,
};

/// In place of an HTTP status a row may name all failures, or all statuses with the same first
/// digit.
inline constexpr int kAnyStatus = 0;
inline constexpr int kRedirects = 3;
inline constexpr int kServerErrors = 5;

/// One row of a service's table: what a response of this status and service code means.
struct ErrorRow {
  int status;
  /// Matches this code and, where codes are paths, those below it. Empty: any code.
  std::string_view code;
  CoreErrors type;
  Retry retry;
};

/// A view of a service's rows, of which the first that matches counts.
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

/// Code and message that a service sent for a failure; empty where it sent none.
struct ServiceMessage {
  std::string code;
  std::string message;
};

/// The error for a failure of this side, which no retry cures.
Error localError(std::string_view name, std::string_view message);

/// The error for a response that is not what the operation promises.
Error malformedResponse(std::string_view message);

/// The error that `response`, the failed response to a request of `method`, stands for.
///
/// A response of the service: `readMessage` finds the service's message in it, and `table` gives it
/// a meaning. What `table` does not contain is judged by its HTTP status alone. Without a code the
/// error is named "HTTP" and the status, without a message it has the status's reason phrase.
///
/// No response: the transport's failure decides, and no retry is possible. A table with a row for
/// all failures gives its type to those of the network as well; they are then retryable if the
/// service cannot have carried out the request, or if it was a read.
Error marshallError(const Http::Response& response, Http::Method method,
                    ServiceMessage (*readMessage)(const Http::Response&), ErrorTable table);

/// The first of these for a response whose message is known.
Error responseError(const Http::Response& response, Http::Method method,
                    const ServiceMessage& message, ErrorTable table);

/// `Code` and `Message` of an XML body with the root `Error`; empty if the body is anything else.
ServiceMessage readXmlError(std::string_view body);

}  // namespace CloudStorage::Client
