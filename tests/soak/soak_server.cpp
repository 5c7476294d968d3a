#include "soak_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>

#include "cloud.h"
#include "loopback.h"

namespace Soak {
namespace {

using Behaviour::Cloud;
using Behaviour::Subject;

constexpr std::size_t kRequestsPerToken = 250;
constexpr std::size_t kRequestsPerConnection = 50;
constexpr int kFolders = 20;
constexpr std::size_t kPageLength = 10;

[[noreturn]] void throwErrno(const char* what) {
  throw std::system_error(errno, std::generic_category(), what);
}

int listener(std::uint16_t& port) {
  const int descriptor = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t length = sizeof address;
  auto* generic = reinterpret_cast<sockaddr*>(&address);
  if (descriptor < 0 || ::bind(descriptor, generic, length) != 0 ||
      ::listen(descriptor, SOMAXCONN) != 0 || ::getsockname(descriptor, generic, &length) != 0) {
    throwErrno("listen");
  }
  port = ntohs(address.sin_port);
  return descriptor;
}

/// The next request; empty if the client has disconnected.
std::string receive(int socket) {
  std::string bytes;
  std::array<char, 8192> buffer{};
  for (;;) {
    const auto headEnd = bytes.find("\r\n\r\n");
    if (headEnd != std::string::npos) {
      constexpr std::string_view kLength = "\r\nContent-Length: ";
      const auto length = bytes.find(kLength);
      const std::size_t body =
          length < headEnd ? std::stoul(bytes.substr(length + kLength.size())) : 0;
      if (bytes.size() >= headEnd + 4 + body) return bytes;
    }
    const ssize_t count = ::recv(socket, buffer.data(), buffer.size(), 0);
    if (count <= 0) return {};
    bytes.append(buffer.data(), static_cast<std::size_t>(count));
  }
}

bool send(int socket, std::string_view bytes) {
  return ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL) ==
         static_cast<ssize_t>(bytes.size());
}

class Server {
 public:
  Server(const Behaviour::Service& service, Counts& counts) : cloud_(service), counts_(counts) {
    cloud_.addFolders(kFolders);
    cloud_.pageLength = kPageLength;
    cloud_.onRequest = [this] {
      if (++counts_.requests % kRequestsPerToken == 0) cloud_.expireToken();
    };
  }

  [[noreturn]] void run(int listener) {
    for (;;) {
      const int socket = ::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
      if (socket < 0) continue;
      const std::size_t number = ++counts_.connections;
      std::thread([this, socket, number] { serve(socket, number % 2 == 0); }).detach();
    }
  }

 private:
  void serve(int socket, bool announcesEnd) {
    for (std::size_t left = kRequestsPerConnection; left > 0; --left) {
      const std::string bytes = receive(socket);
      if (bytes.empty()) break;
      const auto request = Behaviour::requestIn(bytes);
      if (request.uri.toString() == Cloud::kTokenEndpoint) ++counts_.refreshes;
      std::string response = Behaviour::bytesOf(cloud_.send(request));
      if (left == 1 && announcesEnd) {
        response.insert(response.find("\r\n") + 2, "Connection: close\r\n");
      }
      if (!send(socket, response)) break;
    }
    ::close(socket);
  }

  Cloud cloud_;
  Counts& counts_;
};

}  // namespace

SoakServer::SoakServer(const Behaviour::Service& service) {
  void* memory =
      ::mmap(nullptr, sizeof(Counts), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throwErrno("mmap");
  counts_ = new (memory) Counts;
  const int descriptor = listener(port_);
  process_ = ::fork();
  if (process_ < 0) throwErrno("fork");
  if (process_ == 0) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    Server(service, *counts_).run(descriptor);
  }
  ::close(descriptor);
}

SoakServer::~SoakServer() {
  ::kill(process_, SIGKILL);
  ::waitpid(process_, nullptr, 0);
  ::munmap(counts_, sizeof(Counts));
}

}  // namespace Soak
