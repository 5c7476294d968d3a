#pragma once

#include "Http/CurlTransport.h"
#include "support/loopback_server.h"

namespace TestSupport {

/// Sends the requests for every host to one server of this machine.
class LoopbackTransport : public CloudStorage::Http::Transport {
 public:
  explicit LoopbackTransport(const LoopbackServer& server) : server_(server) {}

  CloudStorage::Http::Response send(const CloudStorage::Http::Request& request) override {
    CloudStorage::Http::Request local = request;
    local.uri = server_.request(request.method, request.uri.path()).uri;
    return curl_.send(local);
  }

 private:
  const LoopbackServer& server_;
  CloudStorage::Http::CurlTransport curl_{CloudStorage::Http::CurlTransport::Options()};
};

}  // namespace TestSupport
