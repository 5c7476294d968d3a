#pragma once

#include <openssl/types.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "CloudStorage/Http/Transport.h"

namespace TestSupport {

/// A server on 127.0.0.1 that runs a script for each connection; the script need not follow HTTP.
/// Each connection has its own thread; the destructor ends all of them.
class LoopbackServer {
 public:
  class Connection {
   public:
    Connection(LoopbackServer& server, int socket) : server_(server), socket_(socket) {}
    ~Connection();
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    /// The next request as received, with a body of the length in its headers. Records it, too.
    /// Empty if the client has disconnected or the server ends.
    std::optional<std::string> readRequest();
    /// False if the client has disconnected.
    bool send(std::string_view bytes);
    /// Returns when the client has disconnected or the server ends.
    void waitUntilClosed();
    /// Drops the connection so that the client sees a reset.
    void reset();
    /// Passes bytes in both directions between the client and a port of this machine.
    void tunnelTo(std::uint16_t port);

   private:
    friend class LoopbackServer;
    bool startTls(SSL_CTX* context);
    std::size_t receive(char* buffer, std::size_t size);

    LoopbackServer& server_;
    int socket_;
    std::shared_ptr<SSL> tls_;
    std::string unread_;
  };

  using Script = std::function<void(Connection&)>;

  /// With `tls` every connection starts with a handshake.
  explicit LoopbackServer(Script script, std::shared_ptr<SSL_CTX> tls = nullptr);
  ~LoopbackServer();
  LoopbackServer(const LoopbackServer&) = delete;
  LoopbackServer& operator=(const LoopbackServer&) = delete;

  std::uint16_t port() const { return port_; }
  /// A request for `target` on this server.
  CloudStorage::Http::Request request(CloudStorage::Http::Method method,
                                      const std::string& target) const;

  std::size_t connectionCount() const { return connectionCount_; }
  /// Bytes that the scripts have sent.
  std::size_t bytesSent() const { return bytesSent_; }
  std::vector<std::string> requests() const;

 private:
  void acceptConnections();
  void serve(int socket);

  const Script script_;
  const std::shared_ptr<SSL_CTX> tls_;
  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::atomic<std::size_t> connectionCount_{0};
  std::atomic<std::size_t> bytesSent_{0};
  mutable std::mutex mutex_;
  bool stopping_ = false;  // guarded by mutex_, as are the three below
  std::set<int> openSockets_;
  std::vector<std::string> requests_;
  std::vector<std::thread> connections_;
  std::thread acceptor_;
};

/// A bound port of 127.0.0.1 that refuses connections.
class RefusingPort {
 public:
  RefusingPort();
  ~RefusingPort();
  RefusingPort(const RefusingPort&) = delete;
  RefusingPort& operator=(const RefusingPort&) = delete;

  std::uint16_t number() const { return number_; }

 private:
  int socket_;
  std::uint16_t number_ = 0;
};

/// An HTTP/1.1 response with a content-length; `headers` are whole lines.
std::string httpResponse(const std::string& status, const std::string& body,
                         const std::string& headers = {});

/// A script that sends `bytes` in response to each request of a connection.
LoopbackServer::Script alwaysSend(std::string bytes);

/// A request for an absolute URL.
CloudStorage::Http::Request requestTo(CloudStorage::Http::Method method, const std::string& url);

}  // namespace TestSupport
