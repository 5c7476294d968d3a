#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "CloudStorage/Client/WSError.h"
#include "CloudStorage/Http/Transport.h"
#include "Util/Text.h"

/// The common part of all services' error marshallers. Each service has its own table of the
/// meanings of its failures.
namespace CloudStorage::Client {

/// Whether a retry of a failed request could help.
enum class Retry : std::uint8_t {
  Never,
  Reads,         ///< GET and HEAD; any other request may have been executed and would run twice
  ServerErrors,  ///< if the status is 5xx, whatever the code says
  Always,
};

/// What a row may state instead of an HTTP status: every failure, also one without a response; or
/// the first digit of a class of statuses.
inline constexpr int kAnyStatus = 0;
inline constexpr int kRedirects = 3;
inline constexpr int kServerErrors = 5;

/// One row of a service's table: the meaning of a response with this status and service code.
struct ErrorRow {
  int status;
  /// Matches this code and, where codes are paths, those below it. Empty: any code.
  std::string_view code;
  CoreErrors type;
  Retry retry;
  /// None: the kind of the type or, if that is TemporaryFailure, of the status.
  FailureKind kind = FailureKind::None;
};

/// A view of a service's rows, of which the first matching one applies.
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

/// The code and the message that a service sent for a failure; empty if it sent none.
struct ServiceMessage {
  std::string code;
  std::string message;
  /// A second code, which states the reason more exactly. It determines the error's kind if a row
  /// with a kind of its own has it, and nothing else.
  std::string finerCode{};
};

/// The most bytes of a request id that are kept.
inline constexpr std::size_t kRequestIdLimit = 256;

/// What a failure of this type means, unless its row states otherwise.
FailureKind kindOf(CoreErrors type);

/// The standard text for an HTTP status.
std::string_view reasonPhrase(int status);

/// The error for a failure on the client side, which a retry cannot help.
Error localError(std::string_view name, std::string_view message);

/// The error for a lack of memory. Allocates none, as its texts are short.
Error outOfMemory();

/// The error for a response that does not have the form that the operation requires.
Error malformedResponse(std::string_view message);

/// The error for `response`, the failed response to a request with `method`.
///
/// If the service sent a response, `readMessage` extracts the service's message from it, and
/// `table` defines the error's type. A failure that `table` does not contain gets its type from the
/// HTTP status alone. Without a code the error is named "HTTP" and the status. The message of a
/// service that sends a code and no message is empty; only if there is neither, it is the status's
/// reason phrase.
///
/// The texts are one line each. They have any length, because secrets must be redacted before a
/// text is truncated.
///
/// The error's kind follows from the same row as its type.
///
/// If there is no response, the transport's failure defines type and kind, and the error is not
/// retryable. A table with a row for every failure gives its type to failures of the network as
/// well. These are retryable if the service cannot have executed the request, or if the request was
/// a read; never if the certificate was not trusted.
Error marshallError(const Http::Response& response, Http::Method method,
                    ServiceMessage (*readMessage)(const Http::Response&), ErrorTable table);

/// The same for a response of the service whose message has been extracted.
Error responseError(const Http::Response& response, Http::Method method,
                    const ServiceMessage& message, ErrorTable table);

/// Adds status, headers and request id of `response`, which caused `error`.
void addResponse(Error& error, const Http::Response& response);

/// `error`, the failure of a request with `method`, for services that have no code for a name that
/// they do not allow: of what a creation consists of, only the name is the user's choice, so if the
/// service calls the creation invalid, it is the name.
Error withInvalidName(Error error, Http::Method method);

/// `Code` and `Message` of an XML body with the root `Error`; empty if the body is anything else.
ServiceMessage readXmlError(std::string_view body);

}  // namespace CloudStorage::Client
