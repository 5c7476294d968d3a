#pragma once

#include <chrono>
#include <cstddef>
#include <memory>

#include "CloudStorage/Config/ProxySetting.h"
#include "CloudStorage/Http/Transport.h"
#include "Http/TrustAnchors.h"

namespace CloudStorage::Http {

class CurlHandlePool;

/// The way to the real network, through libcurl. Safe for concurrent calls: each running call has a
/// connection of its own, and connections stay open for the calls that follow.
class CurlTransport final : public Transport {
 public:
  struct Limits {
    /// Until the connection stands: name look-up, proxy tunnel and TLS handshake included.
    std::chrono::milliseconds connect{30'000};
    /// Without a single byte moving. Whole seconds, since libcurl looks no closer.
    std::chrono::seconds silence{60};
    /// From the look-up of the name to the last byte of the answer.
    std::chrono::milliseconds total{300'000};
    /// Bytes of a 2xx answer, decompressed. A longer one is a failure.
    std::size_t maxBody = std::size_t{32} << 20U;
    /// Bytes of any other answer. A longer one is cut.
    std::size_t maxErrorBody = std::size_t{1} << 20U;
  };

  struct Options {
    Config::ProxySetting proxy;
    /// Offer to take gzip and deflate.
    bool acceptCompressed = false;
    Limits limits;
    /// Null: the ones of the process.
    std::shared_ptr<TrustAnchors> trustAnchors;
  };

  /// Makes no connection and loads no certificates, so nothing here can fail.
  explicit CurlTransport(Options options);
  ~CurlTransport() override;
  CurlTransport(const CurlTransport&) = delete;
  CurlTransport& operator=(const CurlTransport&) = delete;

  Response send(const Request& request) override;

 private:
  Options options_;
  std::unique_ptr<CurlHandlePool> handles_;
};

}  // namespace CloudStorage::Http
