#include "page_server.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <new>
#include <string_view>
#include <system_error>
#include <thread>

namespace benchmarks {

struct PageServer::Counters {
  std::atomic<unsigned> connections{0};
  std::atomic<unsigned> requests{0};
};

namespace {

static_assert(std::atomic<unsigned>::is_always_lock_free, "a lock does not reach across processes");

template <typename Value>
Value checked(Value result, const char* what) {
  if (result < 0) throw std::system_error(errno, std::generic_category(), what);
  return result;
}

std::string httpAnswer(const std::string& page) {
  return "HTTP/1.1 200 OK\r\nContent-Type: application/xml\r\nServer: page-server\r\n"
         "Content-Length: " +
         std::to_string(page.size()) + "\r\n\r\n" + page;
}

bool sendAll(int connection, std::string_view data) {
  while (!data.empty()) {
    const ssize_t sent = send(connection, data.data(), data.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    data.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

// The requests have no body, and a client waits for the answer before it asks again.
void serveConnection(int connection, std::string_view answer, std::atomic<unsigned>& requests) {
  constexpr std::string_view kEndOfRequest = "\r\n\r\n";
  std::array<char, 4096> buffer{};
  std::string request;
  for (;;) {
    const ssize_t received = recv(connection, buffer.data(), buffer.size(), 0);
    if (received <= 0) break;
    request.append(buffer.data(), static_cast<std::size_t>(received));
    if (request.find(kEndOfRequest) == std::string::npos) continue;
    request.clear();
    ++requests;
    if (!sendAll(connection, answer)) break;
  }
  close(connection);
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

PageServer::PageServer(const std::function<std::string()>& makePage) {
  void* memory =
      mmap(nullptr, sizeof(Counters), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::system_error(errno, std::generic_category(), "the counters");
  counters_ = new (memory) Counters;

  const int listener = listenOnFreePort(port_);
  const pid_t client = getpid();
  process_ = checked(fork(), "the server's process");
  if (process_ != 0) {
    close(listener);
    return;
  }

  // The server must not outlive a benchmark that was killed, not even one killed before this line.
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (getppid() != client) _exit(1);
  const std::string answer = httpAnswer(makePage());
  for (;;) {
    const int connection = accept(listener, nullptr, nullptr);
    if (connection < 0) continue;
    const int on = 1;
    setsockopt(connection, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
    ++counters_->connections;
    std::thread(serveConnection, connection, std::string_view(answer),
                std::ref(counters_->requests))
        .detach();
  }
}

PageServer::~PageServer() {
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  munmap(counters_, sizeof(Counters));
}

unsigned PageServer::connections() const { return counters_->connections; }

unsigned PageServer::requests() const { return counters_->requests; }

}  // namespace benchmarks
