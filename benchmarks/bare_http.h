#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace benchmarks {

/// Where a page server is, and how a client gets there.
struct Route {
  enum class Kind { Plain, Tls, TlsThroughProxy };

  Kind kind = Kind::Plain;
  std::uint16_t port = 0;
  /// The certificates to trust.
  std::string trustedFile;

  /// "http://127.0.0.1:4711", or with https. Leads nowhere through a proxy.
  std::string address() const;
};

/// A GET, or a POST if there is a body.
struct BareRequest {
  std::string url;
  std::string body;
};

/// One libcurl handle whose options are set once and whose buffer is used again: as little as a
/// program can do. No retries, no limits.
class BareHttp {
 public:
  /// `asksForCompression` as the library does where services compress.
  BareHttp(const Route& route, bool asksForCompression);
  ~BareHttp();
  BareHttp(const BareHttp&) = delete;
  BareHttp& operator=(const BareHttp&) = delete;

  /// To be sent with the following requests, in place of those set before.
  void setHeaders(const std::vector<std::string>& lines);

  /// The page, good until the next request. Throws std::runtime_error if there is none.
  std::string& fetch(const BareRequest& request);
  /// Drops the page as it arrives.
  void fetchAndDrop(const BareRequest& request);

 private:
  struct Implementation;

  std::unique_ptr<Implementation> implementation_;
};

}  // namespace benchmarks
