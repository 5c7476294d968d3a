#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "CloudStorage/Http/Transport.h"
#include "Http/CurlTransport.h"
#include "cloud.h"
#include "support/loopback_server.h"

namespace Behaviour {

/// Sends every request over a real connection, unencrypted, to a port of this machine in place of
/// its own address.
class Detour : public CloudStorage::Http::Transport {
 public:
  explicit Detour(std::uint16_t port, CloudStorage::Http::CurlTransport::Options options = {})
      : port_(port), transport_(std::move(options)) {}

  CloudStorage::Http::Response send(const CloudStorage::Http::Request& request) override;

 private:
  const std::uint16_t port_;
  CloudStorage::Http::CurlTransport transport_;
};

/// The request in the bytes that a server has received; with its own address if it was detoured.
CloudStorage::Http::Request requestIn(const std::string& bytes);
/// The bytes of a response.
std::string bytesOf(const CloudStorage::Http::Response& response);

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
