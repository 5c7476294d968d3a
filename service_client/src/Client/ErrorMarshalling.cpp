#include "Client/ErrorMarshalling.h"

#include <utility>

#include "Util/Xml.h"

namespace CloudStorage::Client {
namespace {

using Kind = Http::TransportFailure::Kind;

/// The meaning of an HTTP status, independent of the service. The last row matches any status.
constexpr ErrorRow kHttpRows[] = {
    {kRedirects, "", CoreErrors::Redirected, Retry::Never},
    {400, "", CoreErrors::InvalidRequest, Retry::Never},
    {401, "", CoreErrors::NotAuthenticated, Retry::Never},
    {403, "", CoreErrors::AccessDenied, Retry::Never},
    {404, "", CoreErrors::NotFound, Retry::Never},
    {405, "", CoreErrors::InvalidRequest, Retry::Never},
    {406, "", CoreErrors::InvalidRequest, Retry::Never},
    {407, "", CoreErrors::Rejected, Retry::Never, FailureKind::Offline},  // of the proxy
    {408, "", CoreErrors::Timeout, Retry::Never},
    {409, "", CoreErrors::Conflict, Retry::Never},
    {411, "", CoreErrors::InvalidRequest, Retry::Never},
    {412, "", CoreErrors::PreconditionFailed, Retry::Never},
    {413, "", CoreErrors::InvalidRequest, Retry::Never},
    {414, "", CoreErrors::InvalidRequest, Retry::Never},
    {415, "", CoreErrors::InvalidRequest, Retry::Never},
    {422, "", CoreErrors::InvalidRequest, Retry::Never},
    {423, "", CoreErrors::Conflict, Retry::Never},
    {429, "", CoreErrors::Throttled, Retry::Always},
    {501, "", CoreErrors::NotImplemented, Retry::Always},
    {507, "", CoreErrors::ServiceFailure, Retry::Always, FailureKind::Quota},
    {511, "", CoreErrors::ServiceFailure, Retry::Always,
     FailureKind::NotUnderstood},  // sign-in page
    {kServerErrors, "", CoreErrors::ServiceFailure, Retry::Always},
    {kAnyStatus, "", CoreErrors::Rejected, Retry::Never},
};

struct TypeMeaning {
  CoreErrors type;
  FailureKind kind;
};

constexpr TypeMeaning kTypeMeanings[] = {
    {CoreErrors::LocalFailure, FailureKind::HostFault},
    {CoreErrors::NetworkFailure, FailureKind::Offline},
    {CoreErrors::Timeout, FailureKind::TimedOut},
    {CoreErrors::Untrusted, FailureKind::NotTrusted},
    {CoreErrors::Rejected, FailureKind::NotUnderstood},
    {CoreErrors::InvalidRequest, FailureKind::NotUnderstood},
    // Another attempt cannot help, so this is no trouble of the service.
    {CoreErrors::NotImplemented, FailureKind::NotUnderstood},
    {CoreErrors::PreconditionFailed, FailureKind::Denied},
    {CoreErrors::Conflict, FailureKind::Wait},
    {CoreErrors::Redirected, FailureKind::NotUnderstood},
    {CoreErrors::NotAuthenticated, FailureKind::WrongKeys},
    {CoreErrors::UnknownAccessKey, FailureKind::WrongKeys},
    {CoreErrors::SignatureMismatch, FailureKind::WrongKeys},
    {CoreErrors::ClockSkew, FailureKind::WrongClock},
    {CoreErrors::AccessDenied, FailureKind::Denied},
    {CoreErrors::AccountProblem, FailureKind::Denied},
    {CoreErrors::WrongRegion, FailureKind::WrongRegion},
    {CoreErrors::NotFound, FailureKind::NotFound},
    {CoreErrors::BucketNotFound, FailureKind::NotFound},
    {CoreErrors::BucketAlreadyExists, FailureKind::ExistsAlready},
    {CoreErrors::BucketAlreadyOwned, FailureKind::ExistsAlready},
    {CoreErrors::InvalidBucketName, FailureKind::NameNotAllowed},
    {CoreErrors::TooManyBuckets, FailureKind::Quota},
    {CoreErrors::InvalidLocation, FailureKind::WrongRegion},
    {CoreErrors::QuotaExceeded, FailureKind::Quota},
    {CoreErrors::Throttled, FailureKind::Wait},
    {CoreErrors::ServiceFailure, FailureKind::ServiceTrouble},
    {CoreErrors::Cancelled, FailureKind::Cancelled},
    {CoreErrors::DeadlineExceeded, FailureKind::Deadline},
};

/// The headers in which services name a request. No service sends more than one of them, except for
/// OneDrive, whose own one is the first.
constexpr const char* kRequestIdHeaders[] = {
    "request-id",           "x-amz-request-id", "x-ms-request-id",
    "x-dropbox-request-id", "x-amzn-requestid", "x-guploader-uploadid",
};

struct Reason {
  int status;
  std::string_view text;
};

/// Reason phrases of RFC 9110, section 15, RFC 4918 and RFC 6585.
constexpr Reason kReasons[] = {
    {200, "OK"},
    {201, "Created"},
    {202, "Accepted"},
    {203, "Non-Authoritative Information"},
    {204, "No Content"},
    {205, "Reset Content"},
    {206, "Partial Content"},
    {300, "Multiple Choices"},
    {301, "Moved Permanently"},
    {302, "Found"},
    {303, "See Other"},
    {304, "Not Modified"},
    {305, "Use Proxy"},
    {307, "Temporary Redirect"},
    {308, "Permanent Redirect"},
    {400, "Bad Request"},
    {401, "Unauthorized"},
    {402, "Payment Required"},
    {403, "Forbidden"},
    {404, "Not Found"},
    {405, "Method Not Allowed"},
    {406, "Not Acceptable"},
    {407, "Proxy Authentication Required"},
    {408, "Request Timeout"},
    {409, "Conflict"},
    {410, "Gone"},
    {411, "Length Required"},
    {412, "Precondition Failed"},
    {413, "Content Too Large"},
    {414, "URI Too Long"},
    {415, "Unsupported Media Type"},
    {416, "Range Not Satisfiable"},
    {417, "Expectation Failed"},
    {421, "Misdirected Request"},
    {422, "Unprocessable Content"},
    {423, "Locked"},
    {426, "Upgrade Required"},
    {429, "Too Many Requests"},
    {431, "Request Header Fields Too Large"},
    {500, "Internal Server Error"},
    {501, "Not Implemented"},
    {502, "Bad Gateway"},
    {503, "Service Unavailable"},
    {504, "Gateway Timeout"},
    {505, "HTTP Version Not Supported"},
    {507, "Insufficient Storage"},
};

bool matchesStatus(const ErrorRow& row, int status) {
  return row.status == kAnyStatus || row.status == status || row.status == status / 100;
}

bool matchesCode(const ErrorRow& row, std::string_view code) {
  if (row.code.empty()) return true;
  if (code.substr(0, row.code.size()) != row.code) return false;
  return code.size() == row.code.size() || code[row.code.size()] == '/';
}

const ErrorRow* findRow(ErrorTable table, int status, std::string_view code) {
  for (const ErrorRow& row : table) {
    if (matchesStatus(row, status) && matchesCode(row, code)) return &row;
  }
  return nullptr;
}

const ErrorRow& rowOfStatus(int status) { return *findRow(kHttpRows, status, {}); }

FailureKind kindOfRow(const ErrorRow& row, int status) {
  if (row.kind != FailureKind::None) return row.kind;
  if (row.type != CoreErrors::TemporaryFailure) return kindOf(row.type);
  return kindOfRow(rowOfStatus(status), status);
}

// The kind that the finer code has in a row of its own; none if there is no such row.
FailureKind kindOfFinerCode(ErrorTable table, int status, std::string_view code) {
  if (code.empty()) return FailureKind::None;
  const ErrorRow* row = findRow(table, status, code);
  return row == nullptr || row->code.empty() ? FailureKind::None : row->kind;
}

bool isRead(Http::Method method) {
  return method == Http::Method::Get || method == Http::Method::Head;
}

bool isRetryable(Retry retry, int status, Http::Method method) {
  switch (retry) {
    case Retry::Never:
      return false;
    case Retry::Reads:
      return isRead(method);
    case Retry::ServerErrors:
      return status / 100 == kServerErrors;
    case Retry::Always:
      return true;
  }
  return false;
}

CoreErrors typeOf(Kind kind) {
  switch (kind) {
    case Kind::Unreachable:
    case Kind::Interrupted:
      return CoreErrors::NetworkFailure;
    case Kind::Timeout:
      return CoreErrors::Timeout;
    case Kind::Untrusted:
      return CoreErrors::Untrusted;
    case Kind::Cancelled:
      return CoreErrors::Cancelled;
    case Kind::DeadlineExceeded:
      return CoreErrors::DeadlineExceeded;
    case Kind::ResponseTooLarge:
    case Kind::Refused:
      break;
  }
  return CoreErrors::LocalFailure;
}

// As opposed to a failure of this side.
bool isOfTheNetwork(CoreErrors type) {
  return type == CoreErrors::NetworkFailure || type == CoreErrors::Timeout ||
         type == CoreErrors::Untrusted;
}

// Of a request that was not sent, the name states the kind, as of other failures on this side.
FailureKind kindOfTransport(const Http::TransportFailure& failure, FailureKind byName) {
  if (failure.kind == Kind::ResponseTooLarge) return FailureKind::NotUnderstood;
  return failure.kind == Kind::Refused ? byName : kindOf(typeOf(failure.kind));
}

Error transportError(const Http::TransportFailure& failure, Http::Method method, ErrorTable table) {
  Error error = localError(failure.name, failure.message);
  error.errorType = typeOf(failure.kind);
  error.kind = kindOfTransport(failure, error.kind);
  const ErrorRow* row = findRow(table, kAnyStatus, {});
  if (row == nullptr || !isOfTheNetwork(error.errorType)) return error;
  error.errorType = row->type;
  error.retryable =
      failure.kind != Kind::Untrusted && (!failure.requestMayHaveRun || isRead(method));
  return error;
}

}  // namespace

FailureKind kindOf(CoreErrors type) {
  for (const TypeMeaning& meaning : kTypeMeanings) {
    if (meaning.type == type) return meaning.kind;
  }
  return FailureKind::NotUnderstood;
}

std::string_view reasonPhrase(int status) {
  for (const Reason& reason : kReasons) {
    if (reason.status == status) return reason.text;
  }
  return "No standard HTTP status";
}

Error localError(std::string_view name, std::string_view message) {
  Error error;
  error.errorType = CoreErrors::LocalFailure;
  error.exceptionName = Util::oneLine(name);
  error.message = Util::oneLine(message);
  const bool isOfService = name == "MalformedResponse" || name == "ResponseTooLarge";
  error.kind = isOfService ? FailureKind::NotUnderstood : FailureKind::HostFault;
  return error;
}

Error outOfMemory() {
  Error error;
  error.errorType = CoreErrors::LocalFailure;
  error.exceptionName = "InternalFailure";
  error.message = "std::bad_alloc";
  error.kind = FailureKind::HostFault;
  return error;
}

Error malformedResponse(std::string_view message) {
  return localError("MalformedResponse", message);
}

Error marshallError(const Http::Response& response, Http::Method method,
                    ServiceMessage (*readMessage)(const Http::Response&), ErrorTable table) {
  if (response.failure) return transportError(*response.failure, method, table);
  return responseError(response, method, readMessage(response), table);
}

Error responseError(const Http::Response& response, Http::Method method,
                    const ServiceMessage& message, ErrorTable table) {
  Error error;
  error.exceptionName = Util::oneLine(message.code, std::string::npos);
  const ErrorRow* row = findRow(table, response.status, error.exceptionName);
  if (row == nullptr) row = &rowOfStatus(response.status);
  error.errorType = row->type;
  error.kind = kindOfFinerCode(table, response.status, message.finerCode);
  if (error.kind == FailureKind::None) error.kind = kindOfRow(*row, response.status);
  error.retryable = isRetryable(row->retry, response.status, method);

  error.message = Util::oneLine(message.message, std::string::npos);
  if (error.exceptionName.empty()) {
    error.exceptionName = "HTTP" + std::to_string(response.status);
    if (error.message.empty()) error.message = reasonPhrase(response.status);
  }
  addResponse(error, response);
  return error;
}

void addResponse(Error& error, const Http::Response& response) {
  error.httpResponseCode = response.status;
  error.responseHeaders = response.headers;
  for (const char* name : kRequestIdHeaders) {
    const auto header = response.headers.find(name);
    if (header == response.headers.end()) continue;
    error.requestId = header->second;
    return;
  }
}

Error withInvalidName(Error error, Http::Method method) {
  constexpr int kBadRequest = 400;
  const bool isCreation = method == Http::Method::Post;
  if (isCreation && error.httpResponseCode == kBadRequest &&
      error.kind == FailureKind::NotUnderstood) {
    error.kind = FailureKind::NameNotAllowed;
  }
  return error;
}

ServiceMessage readXmlError(std::string_view body) {
  std::string text(body);
  pugi::xml_document document;
  if (!Util::Xml::parse(text, document).isSuccess()) return {};
  const pugi::xml_node root = document.document_element();
  if (!Util::Xml::isNamed(root, "Error")) return {};
  return {Util::Xml::text(Util::Xml::child(root, "Code")),
          Util::Xml::text(Util::Xml::child(root, "Message"))};
}

}  // namespace CloudStorage::Client
