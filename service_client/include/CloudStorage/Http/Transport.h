#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "CloudStorage/Export.h"
#include "CloudStorage/Http/Headers.h"
#include "CloudStorage/Http/URI.h"

namespace CloudStorage::Http {

enum class Method { Get, Head, Post, Put };

/// The method's name on the wire, such as "GET".
CLOUDSTORAGE_API const char* methodName(Method method);

/// One HTTP request, complete and signed.
struct Request {
  Method method = Method::Get;
  URI uri;
  /// Lower-case names. The transport adds what HTTP itself needs (host, content-length) and sends
  /// nothing for a header whose value is empty.
  HeaderValueCollection headers;
  /// Empty: no body. A PUT or POST then says `Content-Length: 0`.
  std::string body;
};

/// Why no complete answer arrived.
struct TransportFailure {
  enum class Kind {
    Unreachable,       ///< the host or its proxy: not resolved, refused, tunnel or TLS broken off
    Timeout,           ///< too slow, or silent
    Untrusted,         ///< the certificate is not trusted, or not the host's
    Interrupted,       ///< the connection broke while sending or receiving
    ResponseTooLarge,  ///< the answer exceeds the size limit
    Refused,           ///< the request was not sent because it cannot be
  };

  Kind kind = Kind::Unreachable;
  /// Symbolic code, for instance "CURLE_COULDNT_CONNECT".
  std::string name;
  std::string message;
  /// False only if the service cannot have seen the request.
  bool requestMayHaveRun = true;
};

/// The answer to a request, or the reason why there is none.
struct Response {
  /// HTTP status; 0 if `failure` is set.
  int status = 0;
  /// Lower-case names, trimmed values, of the final answer only.
  HeaderValueCollection headers;
  std::string body;
  std::optional<TransportFailure> failure;

  bool isSuccessStatus() const { return !failure && status >= 200 && status < 300; }
};

/// The layer's only way to the network. Implementations are safe for concurrent calls, follow no
/// redirect and do not throw.
class CLOUDSTORAGE_API Transport {
 public:
  virtual ~Transport() = default;

  /// Sends `request` and waits for the whole answer.
  virtual Response send(const Request& request) = 0;
};

}  // namespace CloudStorage::Http
