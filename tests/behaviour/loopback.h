#pragma once

#include <cstdint>

#include "CloudStorage/Http/Transport.h"
#include "Http/CurlTransport.h"
#include "cloud.h"
#include "support/loopback_server.h"

namespace Behaviour {

/// Sends every request over a real connection, unencrypted, to a port of this machine in place of
/// its own address.
class Detour : public CloudStorage::Http::Transport {
 public:
  explicit Detour(std::uint16_t port) : port_(port), transport_({}) {}

  CloudStorage::Http::Response send(const CloudStorage::Http::Request& request) override;

 private:
  const std::uint16_t port_;
  CloudStorage::Http::CurlTransport transport_;
};

/// A server that passes detoured requests on to a cloud.
class CloudServer {
 public:
  explicit CloudServer(Cloud& cloud);

  std::uint16_t port() const { return server_.port(); }
  std::size_t connectionCount() const { return server_.connectionCount(); }

 private:
  TestSupport::LoopbackServer server_;
};

}  // namespace Behaviour
