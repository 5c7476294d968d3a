// What a server sends, received through libcurl: heads, trailers, chunks, compression.

#include <chrono>
#include <mutex>
#include <optional>
#include <string>

#include "Http/CurlTransport.h"
#include "error_checks.h"
#include "fuzz_input.h"
#include "support/loopback_server.h"

namespace {

namespace Http = CloudStorage::Http;
using ErrorChecks::require;

/// Sends the same bytes over each connection, and closes it.
class ByteServer {
 public:
  Http::Request request(std::string_view bytes) {
    // A server keeps the threads of its connections until it ends.
    constexpr unsigned kConnectionsPerServer = 100;
    if (requests_++ % kConnectionsPerServer == 0) {
      server_.emplace([this](auto& connection) { serve(connection); });
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    bytes_ = bytes;
    return server_->request(Http::Method::Get, "/");
  }

 private:
  void serve(TestSupport::LoopbackServer::Connection& connection) {
    if (!connection.readRequest()) return;
    const std::lock_guard<std::mutex> lock(mutex_);
    connection.send(bytes_);
  }

  std::mutex mutex_;
  std::string bytes_;
  unsigned requests_ = 0;
  std::optional<TestSupport::LoopbackServer> server_;
};

void checkHeaders(const Http::HeaderValueCollection& headers) {
  for (const auto& [name, value] : headers) {
    require(!name.empty());
    require(name.find_first_of("\nABCDEFGHIJKLMNOPQRSTUVWXYZ") == std::string::npos);
    require(value.find('\n') == std::string::npos);
  }
}

}  // namespace

void checkInput(std::string_view input) {
  constexpr std::size_t kMaxBody = 65536;
  static ByteServer server;
  Http::CurlTransport::Options options;
  options.acceptCompressed = true;
  options.limits.maxBody = kMaxBody;
  options.limits.maxErrorBody = kMaxBody;
  Http::CurlTransport transport(options);
  const auto response = transport.send(server.request(input));
  if (response.failure) {
    require(response.status == 0);
    require(!response.failure->name.empty());
    ErrorChecks::checkLine(response.failure->message);
    return;
  }
  require(response.status >= 0);  // libcurl accepts any number
  require(response.body.size() <= kMaxBody);
  checkHeaders(response.headers);
}
