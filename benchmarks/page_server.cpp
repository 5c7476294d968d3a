#include "page_server.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <openssl/ssl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <memory>
#include <new>
#include <system_error>
#include <thread>

namespace benchmarks {

struct ServerCounters {
  std::atomic<unsigned> connections{0};
  std::atomic<unsigned> requests{0};
  std::atomic<std::uint64_t> bytesSent{0};
};

namespace {

static_assert(std::atomic<std::uint64_t>::is_always_lock_free,
              "a lock does not reach across processes");

template <typename Value>
Value checked(Value result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

/// A connection, with or without TLS.
class Stream {
 public:
  explicit Stream(int connection) : connection_(connection) {}
  ~Stream() { close(connection_); }
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;

  /// The first byte from the peer, which is not consumed; NUL at the end of the stream.
  char peek() const {
    char first = 0;
    return recv(connection_, &first, 1, MSG_PEEK) == 1 ? first : '\0';
  }

  bool startTls(SSL_CTX* context) {
    tls_.reset(SSL_new(context));
    return tls_ && SSL_set_fd(tls_.get(), connection_) == 1 && SSL_accept(tls_.get()) == 1;
  }

  /// The number of received bytes; at most 0 at the end of the stream or after an error.
  ssize_t receive(char* buffer, std::size_t size) {
    if (tls_) return SSL_read(tls_.get(), buffer, static_cast<int>(size));
    return recv(connection_, buffer, size, 0);
  }

  bool sendAll(std::string_view data) {
    if (tls_) return SSL_write(tls_.get(), data.data(), static_cast<int>(data.size())) > 0;
    while (!data.empty()) {
      const ssize_t sent = send(connection_, data.data(), data.size(), MSG_NOSIGNAL);
      if (sent <= 0) return false;
      data.remove_prefix(static_cast<std::size_t>(sent));
    }
    return true;
  }

 private:
  int connection_;
  std::unique_ptr<SSL, decltype(&SSL_free)> tls_{nullptr, &SSL_free};
};

// 0 while the head is incomplete. All clients of the benchmarks use this spelling of the header.
std::size_t requestSize(std::string_view received) {
  constexpr std::string_view kEndOfHead = "\r\n\r\n";
  constexpr std::string_view kLength = "\r\nContent-Length: ";
  const std::size_t end = received.find(kEndOfHead);
  if (end == std::string_view::npos) return 0;
  const std::size_t headSize = end + kEndOfHead.size();
  const std::size_t length = received.substr(0, end).find(kLength);
  if (length == std::string_view::npos) return headSize;
  return headSize + std::stoul(std::string(received.substr(length + kLength.size(), 10)));
}

/// The next request; empty at the end of the stream. Clients do not pipeline requests, so no bytes
/// of another one follow.
std::string receiveRequest(Stream& stream) {
  std::array<char, 4096> buffer;  // NOLINT(cppcoreguidelines-pro-type-member-init)
  std::string request;
  for (;;) {
    const ssize_t received = stream.receive(buffer.data(), buffer.size());
    if (received <= 0) return {};
    request.append(buffer.data(), static_cast<std::size_t>(received));
    const std::size_t size = requestSize(request);
    if (size != 0 && request.size() >= size) return request;
  }
}

std::vector<std::string> httpResponses(const Site& site) {
  std::vector<std::string> responses;
  for (const std::string& page : site.pages) {
    responses.push_back("HTTP/1.1 200 OK\r\nContent-Type: " + site.contentType +
                        "\r\nServer: page-server\r\nContent-Length: " +
                        std::to_string(page.size()) + "\r\n\r\n" + page);
  }
  return responses;
}

/// The server in its own process.
class Server {
 public:
  Server(const Site& site, const TlsIdentity& identity, ServerCounters& counters)
      : choose_(site.choose),
        responses_(httpResponses(site)),
        tls_(identity.serverContext()),
        counters_(counters) {}

  [[noreturn]] void run(int listener) {
    for (;;) {
      const int connection = accept(listener, nullptr, nullptr);
      if (connection < 0) continue;
      const int on = 1;
      setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
      ++counters_.connections;
      std::thread([this, connection] { serve(connection); }).detach();
    }
  }

 private:
  void serve(int connection) {
    constexpr char kTlsHandshake = 0x16;
    constexpr char kConnect = 'C';
    Stream stream(connection);
    if (stream.peek() == kConnect) {
      receiveRequest(stream);
      if (!stream.sendAll("HTTP/1.1 200 Connection established\r\n\r\n")) return;
    }
    if (stream.peek() == kTlsHandshake && !stream.startTls(tls_.get())) return;
    for (;;) {
      const std::string request = receiveRequest(stream);
      if (request.empty()) return;
      const std::string& response = responses_.at(choose_ ? choose_(request) : 0);
      ++counters_.requests;
      counters_.bytesSent += response.size();
      if (!stream.sendAll(response)) return;
    }
  }

  std::function<std::size_t(std::string_view)> choose_;
  std::vector<std::string> responses_;
  std::shared_ptr<SSL_CTX> tls_;
  ServerCounters& counters_;
};

// noexcept, because an exception must not reach the caller's code in this forked process.
[[noreturn]] void runServer(int listener, const std::function<Site()>& makeSite,
                            const TlsIdentity& identity, ServerCounters& counters) noexcept {
  std::signal(SIGPIPE, SIG_IGN);  // TLS may write to a connection that the client has closed
  Server(makeSite(), identity, counters).run(listener);
}

int listenOnFreePort(std::uint16_t& port) {
  const int listener =
      checked(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0), "the server's socket");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof(address);
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  checked(bind(listener, generic, size), "the server's address");
  checked(listen(listener, SOMAXCONN), "the server's socket");
  checked(getsockname(listener, generic, &size), "the server's address");
  port = ntohs(address.sin_port);
  return listener;
}

}  // namespace

PageServer::PageServer(const std::function<Site()>& makeSite, const TlsIdentity& identity) {
  void* memory = mmap(nullptr, sizeof(ServerCounters), PROT_READ | PROT_WRITE,
                      MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::system_error(errno, std::generic_category(), "the counters");
  counters_ = new (memory) ServerCounters;

  const int listener = listenOnFreePort(port_);
  const pid_t client = getpid();
  process_ = checked(fork(), "the server's process");
  if (process_ != 0) {
    close(listener);
    return;
  }

  // The server must not outlive a killed benchmark, not even one that was killed before this line.
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != client) _exit(1);
  runServer(listener, makeSite, identity, *counters_);
}

PageServer::~PageServer() {
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  munmap(counters_, sizeof(ServerCounters));
}

unsigned PageServer::connections() const { return counters_->connections; }

unsigned PageServer::requests() const { return counters_->requests; }

std::uint64_t PageServer::bytesSent() const { return counters_->bytesSent; }

}  // namespace benchmarks
