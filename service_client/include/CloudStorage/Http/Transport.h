#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "CloudStorage/Export.h"
#include "CloudStorage/Http/Headers.h"
#include "CloudStorage/Http/URI.h"

namespace CloudStorage::Http {

enum class Method { Get, Head, Post, Put };

/// The method's name as it is sent, such as "GET".
CLOUDSTORAGE_API const char* methodName(Method method);

/// One HTTP request, complete and signed.
struct Request {
  Method method = Method::Get;
  URI uri;
  /// Names are lower-case. The transport adds the headers that HTTP itself requires (host,
  /// content-length) and omits headers whose value is empty.
  HeaderValueCollection headers;
  /// Empty for a request without a body. A PUT or POST is then sent with `Content-Length: 0`.
  std::string body;
  /// Whether the request must not run twice. The transport otherwise sends a request again by
  /// itself if the connection, which stayed open after an earlier request, turns out to be closed;
  /// the service may have received the request before that.
  bool isSentOnce = false;
  /// What ends the transfer at once, whatever stage it has reached.
  struct Interrupt {
    /// Does so while it is readable; -1: none.
    int descriptor = -1;
    std::chrono::steady_clock::time_point deadline = std::chrono::steady_clock::time_point::max();

    bool isSet() const {
      return descriptor >= 0 || deadline != std::chrono::steady_clock::time_point::max();
    }
  };
  Interrupt interrupt;
  /// How long the transfer may take, in addition to the transport's own limits.
  std::chrono::milliseconds timeLimit = std::chrono::milliseconds::max();
};

/// The reason why no complete response was received.
struct TransportFailure {
  enum class Kind {
    Unreachable,       ///< no connection to the host or its proxy: DNS, TCP, tunnel or TLS failed
    Timeout,           ///< too slow, or no data received
    Untrusted,         ///< the certificate is not trusted or does not match the host
    Interrupted,       ///< the connection broke while sending or receiving
    ResponseTooLarge,  ///< the response exceeds the size limit
    Refused,           ///< the client did not send the request, because it cannot be sent
    Cancelled,         ///< the host cancelled the call
    DeadlineExceeded,  ///< the deadline of the call, which the host has set, has passed
  };

  Kind kind = Kind::Unreachable;
  /// The symbolic code, such as "CURLE_COULDNT_CONNECT".
  std::string name;
  std::string message;
  /// False only if the service cannot have received the request.
  bool requestMayHaveRun = true;
};

/// The response to a request, or the reason why there is none.
struct Response {
  /// The HTTP status; 0 if `failure` is set.
  int status = 0;
  /// The headers of the final response only, with lower-case names and trimmed values.
  HeaderValueCollection headers;
  std::string body;
  std::optional<TransportFailure> failure;

  bool isSuccessStatus() const { return !failure && status >= 200 && status < 300; }
};

/// Sends HTTP requests; the layer's only access to the network. Implementations are safe for
/// concurrent calls, do not follow redirects and do not throw.
class CLOUDSTORAGE_API Transport {
 public:
  virtual ~Transport() = default;

  /// Sends `request` and waits for the whole response.
  virtual Response send(const Request& request) = 0;

  /// What must not be shown of that which it sends beside the request.
  virtual std::vector<std::string> secrets() const { return {}; }
};

}  // namespace CloudStorage::Http
