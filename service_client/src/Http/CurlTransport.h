#pragma once

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "CloudStorage/Config/ProxySetting.h"
#include "CloudStorage/Http/Transport.h"
#include "Http/ResponseHeaders.h"
#include "Http/TrustAnchors.h"

namespace CloudStorage::Http {

class CurlHandlePool;

/// The transport through libcurl. Safe for concurrent calls: each running call has a connection of
/// its own, and connections stay open for later calls.
class CurlTransport final : public Transport {
 public:
  struct Limits {
    /// Time to connect, including name lookup, proxy tunnel and TLS handshake.
    std::chrono::milliseconds connect{30'000};
    /// Time without any byte transferred. In whole seconds, which is libcurl's resolution.
    std::chrono::seconds silence{60};
    /// Time from the name lookup to the last byte of the response.
    std::chrono::milliseconds total{300'000};
    /// Bytes in the decompressed body of a 2xx response. A longer body is a failure.
    std::size_t maxBody = std::size_t{32} << 20U;
    /// Bytes in the body of any other response. A longer body is truncated.
    std::size_t maxErrorBody = std::size_t{1} << 20U;
    ResponseHeaders::Limits headers;
  };

  struct Options {
    Config::ProxySetting proxy;
    /// Whether requests accept responses compressed with gzip or deflate.
    bool acceptCompressed = false;
    Limits limits;
    /// If null, those that the host has set, or else the process-wide ones.
    std::shared_ptr<TrustAnchors> trustAnchors;
  };

  /// Does not connect and does not load certificates, so it cannot fail.
  explicit CurlTransport(Options options);
  ~CurlTransport() override;
  CurlTransport(const CurlTransport&) = delete;
  CurlTransport& operator=(const CurlTransport&) = delete;

  Response send(const Request& request) override;
  /// The password of the proxy, also with the user name as it is sent.
  std::vector<std::string> secrets() const override;

 private:
  Options options_;
  std::unique_ptr<CurlHandlePool> handles_;
};

}  // namespace CloudStorage::Http
