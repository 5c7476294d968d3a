#pragma once

#include <libvemlo_service_client.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace vemlo {

enum class Service : std::int32_t {
  S3 = VEMLO_CLIENT_S3,
  AzureBlobs = VEMLO_CLIENT_AZURE_SSB,
  AmazonDrive = VEMLO_CLIENT_AMAZON_DRIVE,
  GoogleDrive = VEMLO_CLIENT_GOOGLE_DRIVE,
  OneDrive = VEMLO_CLIENT_ONE_DRIVE,
  Dropbox = VEMLO_CLIENT_DROPBOX,
};

/// What a failure means for the user and the host; libvemlo_service_client.h describes each.
enum class Kind : std::int32_t {
  LinkAgain = VEMLO_CLIENT_LINK_AGAIN,
  Wait = VEMLO_CLIENT_WAIT,
  Offline = VEMLO_CLIENT_OFFLINE,
  TimedOut = VEMLO_CLIENT_TIMED_OUT,
  NotTrusted = VEMLO_CLIENT_NOT_TRUSTED,
  Denied = VEMLO_CLIENT_DENIED,
  NotFound = VEMLO_CLIENT_NOT_FOUND,
  ExistsAlready = VEMLO_CLIENT_EXISTS_ALREADY,
  NameNotAllowed = VEMLO_CLIENT_NAME_NOT_ALLOWED,
  Quota = VEMLO_CLIENT_QUOTA,
  WrongKeys = VEMLO_CLIENT_WRONG_KEYS,
  WrongClock = VEMLO_CLIENT_WRONG_CLOCK,
  WrongRegion = VEMLO_CLIENT_WRONG_REGION,
  ServiceTrouble = VEMLO_CLIENT_SERVICE_TROUBLE,
  NotUnderstood = VEMLO_CLIENT_NOT_UNDERSTOOD,
  Cancelled = VEMLO_CLIENT_CANCELLED,
  Deadline = VEMLO_CLIENT_DEADLINE,
  HostFault = VEMLO_CLIENT_HOST_FAULT,
};

/// The name of a kind, such as "link again". A static text.
inline const char* nameOf(Kind kind) noexcept {
  return vemlo_client_kind_name(static_cast<std::int32_t>(kind));
}

/// Why a call failed. A text that the service did not send is empty.
struct FailureDetails {
  Kind kind = Kind::HostFault;
  /// None if no request failed.
  std::optional<Service> service;
  /// The result of the C function: -1 for bad arguments.
  int code = -1;
  /// The error's number as listed in error-codes.md, or 0.
  int error = 0;
  /// The status of the HTTP response, or 0 if there was none.
  int httpStatus = 0;
  /// After what time the service allows another attempt, if it said so.
  std::optional<std::chrono::seconds> retryAfter;
  /// The operation that failed, such as "listFileResource".
  std::string operation;
  /// The error's name as the service or the transport reported it. One line without secrets.
  std::string serviceCode;
  /// The service's own message. One line without secrets.
  std::string serviceMessage;
  /// What the service calls this request in its own logs.
  std::string requestId;
};

/// A call that failed. what() is a line for logs.
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& message, FailureDetails details = {})
      : std::runtime_error(message),
        details_(std::make_shared<const FailureDetails>(std::move(details))) {}

  Kind kind() const noexcept { return details_->kind; }
  const FailureDetails& details() const noexcept { return *details_; }

 private:
  // Shared, so that an exception can be copied without memory.
  std::shared_ptr<const FailureDetails> details_;
};

namespace detail {

/// Kinds of a later version of the library are treated like `NotUnderstood`.
inline Kind kindOf(std::int32_t number) {
  const auto last = static_cast<std::int32_t>(Kind::HostFault);
  return number >= 1 && number <= last ? static_cast<Kind>(number) : Kind::NotUnderstood;
}

inline FailureDetails detailsOf(const vemlo_client_failure& record, int code) {
  FailureDetails details;
  details.kind = kindOf(record.kind);
  details.service = static_cast<Service>(record.service);
  details.code = code;
  details.error = record.error;
  details.httpStatus = record.http_status;
  if (record.retry_after >= 0) details.retryAfter = std::chrono::seconds(record.retry_after);
  details.operation = record.operation;
  details.serviceCode = record.code;
  details.serviceMessage = record.message;
  details.requestId = record.request_id;
  return details;
}

inline std::string describe(const FailureDetails& details) {
  std::string text = details.operation + " failed (" + nameOf(details.kind) + ")";
  for (const std::string& part : {details.serviceCode, details.serviceMessage}) {
    if (!part.empty()) text += ": " + part;
  }
  return text;
}

/// The failure of the calling thread's last call, which has returned `code`.
inline Failure lastFailure(int code) {
  vemlo_client_failure record{};
  record.size = sizeof(record);
  vemlo_client_get_last_failure(&record);
  if (record.kind != VEMLO_CLIENT_NO_FAILURE) {
    FailureDetails details = detailsOf(record, code);
    const std::string message = describe(details);
    return Failure(message, std::move(details));
  }
  FailureDetails details;
  details.code = code;
  if (code < 0) return Failure("the arguments are not acceptable", std::move(details));
  // All requests succeeded, but the library cannot do what it should with the responses.
  details.kind = Kind::NotUnderstood;
  return Failure("the service's response lacks what was asked for", std::move(details));
}

}  // namespace detail
}  // namespace vemlo
