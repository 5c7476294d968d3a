#include "support/loopback_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <openssl/ssl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cctype>
#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <system_error>
#include <tuple>
#include <utility>

namespace TestSupport {
namespace {

constexpr std::size_t kBufferSize = 16384;

[[noreturn]] void throwErrno(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

sockaddr_in loopbackAddress(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  return address;
}

/// A socket bound to a free port of 127.0.0.1, and that port.
std::pair<int, std::uint16_t> boundSocket() {
  const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) throwErrno("socket");
  sockaddr_in address = loopbackAddress(0);
  socklen_t length = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  if (::bind(descriptor, generic, length) != 0) throwErrno("bind");
  if (::getsockname(descriptor, generic, &length) != 0) throwErrno("getsockname");
  return {descriptor, ntohs(address.sin_port)};
}

bool sendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

/// The content-length in `head`; 0 if there is none.
std::size_t contentLength(const std::string& head) {
  constexpr std::string_view kName = "\r\ncontent-length:";
  std::string lower(head);
  for (char& character : lower) character = static_cast<char>(std::tolower(character));
  const auto position = lower.find(kName);
  return position == std::string::npos ? 0 : std::stoul(lower.substr(position + kName.size()));
}

// OpenSSL writes without MSG_NOSIGNAL. Only the threads of the server block the signal, so that a
// client which does not handle it is still ended by it.
void blockBrokenPipeSignal() {
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
}

}  // namespace

LoopbackServer::Connection::~Connection() {
  if (tls_) SSL_shutdown(tls_.get());
}

bool LoopbackServer::Connection::startTls(SSL_CTX* context) {
  tls_.reset(SSL_new(context), SSL_free);
  SSL_set_fd(tls_.get(), socket_);
  if (SSL_accept(tls_.get()) == 1) return true;
  tls_.reset();
  return false;
}

std::size_t LoopbackServer::Connection::receive(char* buffer, std::size_t size) {
  const auto count = tls_ ? SSL_read(tls_.get(), buffer, static_cast<int>(size))
                          : ::recv(socket_, buffer, size, 0);
  return count > 0 ? static_cast<std::size_t>(count) : 0;
}

std::optional<std::string> LoopbackServer::Connection::readRequest() {
  std::array<char, kBufferSize> buffer{};
  for (;;) {
    const auto headEnd = unread_.find("\r\n\r\n");
    if (headEnd != std::string::npos) {
      const std::size_t length = headEnd + 4 + contentLength(unread_.substr(0, headEnd));
      if (unread_.size() >= length) {
        std::string request = unread_.substr(0, length);
        unread_.erase(0, length);
        const std::lock_guard lock(server_.mutex_);
        server_.requests_.push_back(request);
        return request;
      }
    }
    const std::size_t count = receive(buffer.data(), buffer.size());
    if (count == 0) return std::nullopt;
    unread_.append(buffer.data(), count);
  }
}

bool LoopbackServer::Connection::send(std::string_view bytes) {
  const bool sent = tls_ ? SSL_write(tls_.get(), bytes.data(), static_cast<int>(bytes.size())) > 0
                         : sendAll(socket_, bytes);
  if (sent) server_.bytesSent_ += bytes.size();
  return sent;
}

void LoopbackServer::Connection::waitUntilClosed() {
  std::array<char, kBufferSize> buffer{};
  while (receive(buffer.data(), buffer.size()) != 0) {
  }
}

void LoopbackServer::Connection::reset() {
  const linger dropAtOnce{1, 0};
  ::setsockopt(socket_, SOL_SOCKET, SO_LINGER, &dropAtOnce, sizeof dropAtOnce);
  tls_.reset();  // without a TLS shutdown; the socket is closed when the script returns
}

void LoopbackServer::Connection::tunnelTo(std::uint16_t port) {
  const int target = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  const sockaddr_in address = loopbackAddress(port);
  bool open = ::connect(target, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  std::array<pollfd, 2> ends{{{socket_, POLLIN, 0}, {target, POLLIN, 0}}};
  std::array<char, kBufferSize> buffer{};
  while (open && ::poll(ends.data(), ends.size(), -1) > 0) {
    for (std::size_t from = 0; from < ends.size() && open; ++from) {
      if (ends.at(from).revents == 0) continue;
      const ssize_t count = ::recv(ends.at(from).fd, buffer.data(), buffer.size(), 0);
      open = count > 0 &&
             sendAll(ends.at(1 - from).fd, {buffer.data(), static_cast<std::size_t>(count)});
    }
  }
  ::close(target);
}

LoopbackServer::LoopbackServer(Script script, std::shared_ptr<SSL_CTX> tls)
    : script_(std::move(script)), tls_(std::move(tls)) {
  std::tie(listener_, port_) = boundSocket();
  if (::listen(listener_, SOMAXCONN) != 0) throwErrno("listen");
  acceptor_ = std::thread([this] { acceptConnections(); });
}

LoopbackServer::~LoopbackServer() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
    for (const int socket : openSockets_) ::shutdown(socket, SHUT_RDWR);
  }
  ::shutdown(listener_, SHUT_RDWR);  // wakes accept
  acceptor_.join();
  for (std::thread& connection : connections_) connection.join();
  ::close(listener_);
}

CloudStorage::Http::Request LoopbackServer::request(CloudStorage::Http::Method method,
                                                    const std::string& target) const {
  const std::string scheme = tls_ ? "https" : "http";
  return requestTo(method, scheme + "://127.0.0.1:" + std::to_string(port_) + target);
}

std::vector<std::string> LoopbackServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void LoopbackServer::acceptConnections() {
  blockBrokenPipeSignal();
  for (;;) {
    const int socket = ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (socket < 0) return;
    ++connectionCount_;
    const std::lock_guard lock(mutex_);
    if (stopping_) {
      ::close(socket);
      return;
    }
    openSockets_.insert(socket);
    connections_.emplace_back([this, socket] { serve(socket); });
  }
}

void LoopbackServer::serve(int socket) {
  {
    Connection connection(*this, socket);
    if (!tls_ || connection.startTls(tls_.get())) script_(connection);
  }
  const std::lock_guard lock(mutex_);
  openSockets_.erase(socket);
  ::close(socket);
}

RefusingPort::RefusingPort() { std::tie(socket_, number_) = boundSocket(); }

RefusingPort::~RefusingPort() { ::close(socket_); }

std::string httpResponse(const std::string& status, const std::string& body,
                         const std::string& headers) {
  return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" +
         headers + "\r\n" + body;
}

LoopbackServer::Script alwaysSend(std::string bytes) {
  return [bytes = std::move(bytes)](LoopbackServer::Connection& connection) {
    while (connection.readRequest() && connection.send(bytes)) {
    }
  };
}

CloudStorage::Http::Request requestTo(CloudStorage::Http::Method method, const std::string& url) {
  const auto uri = CloudStorage::Http::URI::parse(url);
  if (!uri) throw std::invalid_argument("no URL: " + url);
  CloudStorage::Http::Request request;
  request.method = method;
  request.uri = *uri;
  return request;
}

}  // namespace TestSupport
