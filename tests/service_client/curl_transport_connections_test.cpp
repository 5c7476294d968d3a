// The use of connections.

#include <arpa/inet.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "Http/CurlTransport.h"
#include "support/fresh_process.h"
#include "support/loopback_server.h"

namespace {

using CloudStorage::Http::CurlTransport;
using CloudStorage::Http::Method;
using CloudStorage::Http::Request;
using TestSupport::alwaysSend;
using TestSupport::httpResponse;
using TestSupport::LoopbackServer;

/// This process's socket that is connected to `port` of this machine; -1 if there is none.
int socketTo(std::uint16_t port) {
  constexpr int kMany = 1024;
  for (int descriptor = 0; descriptor < kMany; ++descriptor) {
    sockaddr_in peer{};
    socklen_t size = sizeof(peer);
    if (::getpeername(descriptor, reinterpret_cast<sockaddr*>(&peer), &size) == 0 &&
        peer.sin_family == AF_INET && peer.sin_port == htons(port)) {
      return descriptor;
    }
  }
  return -1;
}

/// Blocks each thread until `expected` have arrived. Returns false after two seconds, so that
/// a failure does not block the test.
class Gate {
 public:
  explicit Gate(int expected) : missing_(expected) {}

  bool pass() {
    std::unique_lock lock(mutex_);
    if (--missing_ == 0) opened_.notify_all();
    return opened_.wait_for(lock, std::chrono::seconds(2), [this] { return missing_ <= 0; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable opened_;
  int missing_;
};

/// Runs `calls` in each of `count` threads.
template <typename Calls>
void inThreads(int count, const Calls& calls) {
  std::vector<std::thread> threads;
  threads.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count; ++i) threads.emplace_back(calls);
  for (std::thread& thread : threads) thread.join();
}

TEST(CurlTransportConnections, SequentialCallsShareOneConnection) {
  LoopbackServer server(alwaysSend(httpResponse("200 OK", "ok")));
  CurlTransport transport({});
  for (int i = 0; i < 200; ++i) {
    ASSERT_EQ(transport.send(server.request(i % 2 == 0 ? Method::Get : Method::Put, "/")).status,
              200);
  }
  EXPECT_EQ(server.requests().size(), 200U);
  EXPECT_EQ(server.connectionCount(), 1U);
}

TEST(CurlTransportConnections, ConnectionsAreClosedOnExec) {
  LoopbackServer server(alwaysSend(httpResponse("200 OK", "")));
  CurlTransport transport({});
  transport.send(server.request(Method::Get, "/"));
  const int connection = socketTo(server.port());
  ASSERT_GE(connection, 0);
  EXPECT_NE(::fcntl(connection, F_GETFD) & FD_CLOEXEC, 0);
}

void closeStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) ::close(descriptor);
}

bool isSocket(int descriptor) {
  struct stat status {};
  return ::fstat(descriptor, &status) == 0 && S_ISSOCK(status.st_mode);
}

// What the host writes to standard error must not go to a service.
TEST(CurlTransportConnectionsDeathTest, NoneReplacesAStandardDescriptor) {
  TestSupport::inFreshProcess([] {
    const LoopbackServer first(alwaysSend(httpResponse("200 OK", "")));
    const LoopbackServer second(alwaysSend(httpResponse("200 OK", "")));
    CurlTransport transport({});

    closeStandardDescriptors();
    EXPECT_EQ(transport.send(first.request(Method::Get, "/")).status, 200);
    EXPECT_GT(socketTo(first.port()), STDERR_FILENO);
    // A new handle has sockets of its own.
    EXPECT_FALSE(isSocket(STDIN_FILENO));
    EXPECT_FALSE(isSocket(STDOUT_FILENO));
    EXPECT_FALSE(isSocket(STDERR_FILENO));

    closeStandardDescriptors();  // with an existing handle
    EXPECT_EQ(transport.send(second.request(Method::Get, "/")).status, 200);
    EXPECT_GT(socketTo(second.port()), STDERR_FILENO);
  });
}

TEST(CurlTransportConnections, SixteenThreadsUseAtMostSixteenConnections) {
  Gate held(2);
  LoopbackServer server([&](LoopbackServer::Connection& connection) {
    while (const auto request = connection.readRequest()) {
      if (request->find("/held") != std::string::npos) held.pass();
      if (!connection.send(httpResponse("200 OK", "ok"))) return;
    }
  });
  CurlTransport transport({});
  // In a moment without any call the ninth and further connections would be closed.
  std::thread running([&] { transport.send(server.request(Method::Get, "/held")); });
  while (server.requests().empty()) std::this_thread::yield();
  Gate start(15);
  std::atomic<int> succeeded{0};
  inThreads(15, [&] {
    start.pass();
    for (int i = 0; i < 20; ++i) {
      succeeded += transport.send(server.request(Method::Get, "/")).status == 200 ? 1 : 0;
    }
  });
  held.pass();
  running.join();
  EXPECT_EQ(succeeded, 300);
  EXPECT_LE(server.connectionCount(), 16U);
}

/// While the call of one thread is running, this thread and another one have made calls, each on a
/// connection of its own; the last one was the other thread's.
class CurlTransportOfThreeThreads : public testing::Test {
 protected:
  CurlTransportOfThreeThreads() {
    while (server_.requests().empty()) std::this_thread::yield();
    Gate otherIsLast(2);
    std::thread other([&] {
      otherConnection_ = usedConnection();
      otherIsLast.pass();
      EXPECT_EQ(usedConnection(), otherConnection_);
    });
    ownConnection_ = usedConnection();
    otherIsLast.pass();
    other.join();
    EXPECT_EQ(server_.connectionCount(), 3U);
  }
  ~CurlTransportOfThreeThreads() override { endRunning(); }

  std::string usedConnection(const std::string& path = "/") {
    return transport_.send(server_.request(Method::Get, path)).body;
  }
  void endRunning() {
    if (!running_.joinable()) return;
    held_.pass();
    running_.join();
  }

  std::atomic<int> connections_{0};
  Gate held_{2};
  Gate bothSent_{2};
  LoopbackServer server_{[this](LoopbackServer::Connection& connection) {
    const std::string name = "connection " + std::to_string(++connections_);
    while (const auto request = connection.readRequest()) {
      Gate& gate = request->find("/held") == std::string::npos ? bothSent_ : held_;
      if (!gate.pass() || !connection.send(httpResponse("200 OK", name))) return;
    }
  }};
  CurlTransport transport_{CurlTransport::Options()};
  std::string ownConnection_;
  std::string otherConnection_;
  std::string runningConnection_;
  std::thread running_{[this] { runningConnection_ = usedConnection("/held"); }};
};

// Memory last used by another thread is slower to access.
TEST_F(CurlTransportOfThreeThreads, CallUsesItsThreadsConnectionWhileOthersRun) {
  EXPECT_NE(ownConnection_, otherConnection_);
  EXPECT_EQ(usedConnection(), ownConnection_);
  EXPECT_EQ(server_.connectionCount(), 3U);
}

// The server may have closed the others.
TEST_F(CurlTransportOfThreeThreads, CallUsesTheMostRecentConnectionWhenNoneRuns) {
  endRunning();
  EXPECT_NE(ownConnection_, runningConnection_);
  EXPECT_EQ(usedConnection(), runningConnection_);
  EXPECT_EQ(usedConnection(), runningConnection_);
  EXPECT_EQ(server_.connectionCount(), 3U);
}

TEST(CurlTransportConnections, EightConnectionsStayOpenAfterABurst) {
  Gate burst(16);
  Gate later(8);
  const std::string bytes = httpResponse("200 OK", "ok");
  LoopbackServer server([&](LoopbackServer::Connection& connection) {
    while (const auto request = connection.readRequest()) {
      Gate& gate = request->find("/burst") == std::string::npos ? later : burst;
      if (!gate.pass() || !connection.send(bytes)) return;
    }
  });
  CurlTransport transport({});
  inThreads(16, [&] { transport.send(server.request(Method::Get, "/burst")); });
  EXPECT_EQ(server.connectionCount(), 16U);
  inThreads(8, [&] { transport.send(server.request(Method::Get, "/later")); });
  EXPECT_EQ(server.requests().size(), 24U);
  EXPECT_EQ(server.connectionCount(), 16U);
}

TEST(CurlTransportConnections, NoConnectionIsClosedWhileACallIsRunning) {
  Gate held(2);
  Gate firstBurst(12);
  Gate secondBurst(12);
  const std::string bytes = httpResponse("200 OK", "ok");
  LoopbackServer server([&](LoopbackServer::Connection& connection) {
    while (const auto request = connection.readRequest()) {
      const auto isFor = [&](const char* path) { return request->find(path) != std::string::npos; };
      Gate& gate = isFor("/held") ? held : isFor("/first") ? firstBurst : secondBurst;
      if (!gate.pass() || !connection.send(bytes)) return;
    }
  });
  CurlTransport transport({});
  std::thread running([&] { transport.send(server.request(Method::Get, "/held")); });
  while (server.requests().empty()) std::this_thread::yield();
  inThreads(12, [&] { transport.send(server.request(Method::Get, "/first")); });
  inThreads(12, [&] { transport.send(server.request(Method::Get, "/second")); });
  held.pass();
  running.join();
  EXPECT_EQ(server.requests().size(), 25U);
  EXPECT_EQ(server.connectionCount(), 13U);
}

TEST(CurlTransportConnections, ConnectionThatTheServerClosedIsReplaced) {
  const std::string bytes = httpResponse("200 OK", "ok");
  LoopbackServer server([&](LoopbackServer::Connection& connection) {
    if (connection.readRequest()) connection.send(bytes);
  });
  CurlTransport transport({});
  for (int i = 0; i < 40; ++i) {
    Request request = server.request(i % 2 == 0 ? Method::Get : Method::Put, "/");
    request.body = "again";
    ASSERT_EQ(transport.send(request).status, 200) << "call " << i;
  }
  EXPECT_EQ(server.connectionCount(), 40U);
}

}  // namespace
