#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace benchmarks {

/// The address of a page server and the connection to it.
struct Route {
  enum class Kind { Plain, Tls, TlsThroughProxy };

  Kind kind = Kind::Plain;
  std::uint16_t port = 0;
  /// A file with the trusted certificates.
  std::string trustedFile;

  /// "http://127.0.0.1:4711", or with https. Not for use through a proxy.
  std::string address() const;
};

/// A GET, or a POST if there is a body.
struct BareRequest {
  std::string url;
  std::string body;
};

/// One libcurl handle. Its options are set once and its buffer is reused; there are no retries and
/// no limits.
class BareHttp {
 public:
  /// `acceptsCompression` as the library does for services that compress.
  BareHttp(const Route& route, bool acceptsCompression);
  ~BareHttp();
  BareHttp(const BareHttp&) = delete;
  BareHttp& operator=(const BareHttp&) = delete;

  /// Sets the headers of the following requests.
  void setHeaders(const std::vector<std::string>& lines);

  /// The body of the response, valid until the next request. Throws std::runtime_error if the
  /// request fails or the status is not 200.
  std::string& fetch(const BareRequest& request);
  /// Discards the body as it arrives. Throws like fetch().
  void fetchAndDrop(const BareRequest& request);

 private:
  struct Implementation;

  std::unique_ptr<Implementation> implementation_;
};

}  // namespace benchmarks
