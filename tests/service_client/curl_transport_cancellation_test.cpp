// Calls that end in another way than by returning: their thread is cancelled, or memory runs out.

#include <curl/curl.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <atomic>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Http/CurlTransport.h"
#include "support/fresh_process.h"
#include "support/google_drive_fixture.h"
#include "support/loopback_server.h"
#include "support/loopback_transport.h"
#include "support/test_authority.h"

namespace {

namespace Client = CloudStorage::Client;
using CloudStorage::Http::CurlTransport;
using CloudStorage::Http::Method;
using CloudStorage::Http::Response;
using TestSupport::alwaysSend;
using TestSupport::httpResponse;
using TestSupport::LoopbackServer;

/// Runs `work` in a thread that is cancelled once `isRunning` is true. Returns whether the thread
/// was cancelled, as opposed to returning from `work`.
bool isCancelled(const std::function<void()>& work, const std::function<bool()>& isRunning) {
  pthread_t thread{};
  const auto run = [](void* argument) -> void* {
    (*static_cast<const std::function<void()>*>(argument))();
    return nullptr;
  };
  auto* argument = const_cast<std::function<void()>*>(&work);
  if (pthread_create(&thread, nullptr, run, argument) != 0) return false;
  while (!isRunning()) std::this_thread::yield();
  pthread_cancel(thread);
  void* result = nullptr;
  pthread_join(thread, &result);
  return result == PTHREAD_CANCELED;
}

/// Responds to all requests but those whose target contains "/silent".
LoopbackServer::Script partlySilent(std::string response) {
  return [response = std::move(response)](LoopbackServer::Connection& connection) {
    while (const auto request = connection.readRequest()) {
      if (request->find("/silent") != std::string::npos) return connection.waitUntilClosed();
      if (!connection.send(response)) return;
    }
  };
}

/// A transport and a server of which some targets get no response.
class CurlTransportCancellation : public testing::Test {
 protected:
  Response get(const std::string& target) {
    return transport_.send(server_.request(Method::Get, target));
  }

  bool isCancelledWhile(const std::string& target) {
    const std::size_t before = server_.requests().size();
    return isCancelled([&] { get(target); }, [&] { return server_.requests().size() > before; });
  }

  LoopbackServer server_{partlySilent(httpResponse("200 OK", "ok"))};
  CurlTransport transport_{CurlTransport::Options()};
};

TEST_F(CurlTransportCancellation, NextCallSucceeds) {
  for (int i = 0; i < 20; ++i) {
    ASSERT_TRUE(isCancelledWhile("/silent"));
    ASSERT_EQ(get("/").body, "ok");
  }
}

TEST_F(CurlTransportCancellation, ConnectionOfTheCancelledCallIsNotReused) {
  EXPECT_EQ(get("/").body, "ok");
  EXPECT_TRUE(isCancelledWhile("/silent"));
  EXPECT_EQ(server_.connectionCount(), 1U);
  EXPECT_EQ(get("/").body, "ok");
  EXPECT_EQ(server_.connectionCount(), 2U);
}

TEST_F(CurlTransportCancellation, MayHappenAtAnyMoment) {
  for (int i = 0; i < 200; ++i) {
    isCancelled([&] { get(i % 2 == 0 ? "/" : "/silent"); },
                [round = 0, i]() mutable { return ++round > i * 5; });
  }
  EXPECT_EQ(get("/").body, "ok");
}

TEST_F(CurlTransportCancellation, OtherCallsKeepTheirConnections) {
  std::atomic<bool> isEnough{false};
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      while (!isEnough) failures += get("/").status == 200 ? 0 : 1;
    });
  }
  std::size_t cancelled = 0;
  for (int i = 0; i < 5; ++i) {
    const auto isWaiting = [&] {
      std::size_t silent = 0;
      for (const auto& request : server_.requests()) {
        silent += request.find("/silent") == std::string::npos ? 0U : 1U;
      }
      return silent > cancelled;
    };
    ASSERT_TRUE(isCancelled([&] { get("/silent"); }, isWaiting));
    ++cancelled;
  }
  isEnough = true;
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(failures, 0);
}

TEST_F(CurlTransportCancellation, WaitsForTheEndOfTheCallIfTheThreadDefersIt) {
  std::atomic<bool> isAtTheEnd{false};
  const auto call = [&] {
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, nullptr);
    const auto size = get("/").body.size();
    int state = -1;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &state);
    isAtTheEnd = size == 2 && state == PTHREAD_CANCEL_DISABLE;
    pthread_setcancelstate(PTHREAD_CANCEL_ENABLE, nullptr);
    pthread_testcancel();
  };
  EXPECT_TRUE(isCancelled(call, [] { return true; }));
  EXPECT_TRUE(isAtTheEnd);
}

TEST(CurlTransportCancellationTls, NextCallSucceeds) {
  const TestSupport::TestAuthority authority;
  const LoopbackServer server(partlySilent(httpResponse("200 OK", "ok")),
                              authority.serverContext("IP:127.0.0.1"));
  CurlTransport::Options options;
  options.trustAnchors = std::make_shared<CloudStorage::Http::TrustAnchors>(
      CloudStorage::Http::TrustAnchors::Sources{authority.certificateFile(), ""});
  CurlTransport transport(options);
  for (std::size_t i = 0; i < 5; ++i) {
    const std::size_t before = server.requests().size();
    ASSERT_TRUE(isCancelled([&] { transport.send(server.request(Method::Get, "/silent")); },
                            [&] { return server.requests().size() > before; }));
    ASSERT_EQ(transport.send(server.request(Method::Get, "/")).body, "ok");
  }
}

// The client as a whole, whose other parts have to survive it as well.
class GoogleDriveCancellation : public testing::Test, protected TestSupport::GoogleDriveFixture {};

TEST_F(GoogleDriveCancellation, CancelledListingIsFollowedByACompleteOne) {
  std::atomic<bool> isSilent{true};
  const LoopbackServer server([&](LoopbackServer::Connection& connection) {
    while (connection.readRequest()) {
      if (isSilent) return connection.waitUntilClosed();
      connection.send(httpResponse("200 OK", R"({"files":[{"id":"7","name":"seven"}]})"));
    }
  });
  auto real = environment();
  real.transport = std::make_shared<TestSupport::LoopbackTransport>(server);
  const TestSupport::GoogleDrive::Client client(makeSpec(), makeParts(), real);
  ASSERT_TRUE(isCancelled([&] { client.listFileResource({}); },
                          [&] { return !server.requests().empty(); }));
  isSilent = false;
  const auto outcome = client.listFileResource({});
  ASSERT_TRUE(outcome.isSuccess());
  ASSERT_EQ(outcome.getResult().files.size(), 1U);
  EXPECT_EQ(outcome.getResult().files.front().id, "7");
}

TEST_F(GoogleDriveCancellation, CancelledRefreshIsFollowedByASuccessfulOne) {
  std::atomic<bool> isSilent{true};
  const LoopbackServer server([&](LoopbackServer::Connection& connection) {
    while (connection.readRequest()) {
      if (isSilent) return connection.waitUntilClosed();
      connection.send(httpResponse("200 OK", R"({"access_token":"new"})"));
    }
  });
  auto real = environment();
  real.transport = std::make_shared<TestSupport::LoopbackTransport>(server);
  const TestSupport::GoogleDrive::Client client(makeSpec(), makeParts(), real);
  ASSERT_TRUE(isCancelled([&] { credential->refreshAccessToken(); },
                          [&] { return !server.requests().empty(); }));
  isSilent = false;
  EXPECT_TRUE(credential->refreshAccessToken().isSuccess());
  EXPECT_EQ(credential->accessToken(), "new");
}

/// The memory that libcurl allocates; one allocation can be made to fail.
class CurlMemory {
 public:
  static void install() {
    ASSERT_EQ(curl_global_init_mem(CURL_GLOBAL_DEFAULT, &allocate, &std::free, &reallocate,
                                   &duplicate, &allocateZeroed),
              CURLE_OK);
  }

  /// `number` counts from the next allocation, 1 for this.
  static void failAt(int number) { untilFailure_ = number; }
  static bool hasFailed() { return untilFailure_ <= 0; }

 private:
  static bool fails() { return --untilFailure_ == 0; }
  static void* allocate(std::size_t size) { return fails() ? nullptr : std::malloc(size); }
  static void* reallocate(void* memory, std::size_t size) {
    return fails() ? nullptr : std::realloc(memory, size);
  }
  static char* duplicate(const char* text) { return fails() ? nullptr : ::strdup(text); }
  static void* allocateZeroed(std::size_t count, std::size_t size) {
    return fails() ? nullptr : std::calloc(count, size);
  }

  static std::atomic<int> untilFailure_;
};
std::atomic<int> CurlMemory::untilFailure_{0};

/// Sends `request` so often that each of its allocations fails once, and once more after each
/// failure. `transportOf` returns the transport of an iteration.
void expectSuccessAfterEachFailedAllocation(
    CloudStorage::Http::Request request,
    const std::function<std::shared_ptr<CurlTransport>()>& transportOf) {
  int number = 0;
  for (bool hasFailed = true; hasFailed;) {
    const auto transport = transportOf();
    ++number;
    request.isSentOnce = number % 2 == 0;
    CurlMemory::failAt(number);
    const Response response = transport->send(request);
    hasFailed = CurlMemory::hasFailed();
    CurlMemory::failAt(0);
    EXPECT_TRUE(response.status == 200 || response.failure);
    const Response next = transport->send(request);
    EXPECT_EQ(next.status, 200) << "after failure " << number << ": "
                                << (next.failure ? next.failure->name : "");
  }
  EXPECT_GT(number, 20) << "the allocations of a call";
}

// libcurl gets its allocator before anything else of the process uses it.
TEST(CurlTransportMemoryDeathTest, CallAfterAnyFailedAllocationSucceeds) {
  TestSupport::inFreshProcess([] {
    CurlMemory::install();
    const LoopbackServer server(alwaysSend(httpResponse("200 OK", "ok", "X-A: 1\r\n")));
    auto request = server.request(Method::Post, "/");
    request.headers = {{"x-header", "value"}};
    request.body = "body";
    const auto shared = std::make_shared<CurlTransport>(CurlTransport::Options());
    expectSuccessAfterEachFailedAllocation(request, [&] { return shared; });
    expectSuccessAfterEachFailedAllocation(
        request, [] { return std::make_shared<CurlTransport>(CurlTransport::Options()); });
  });
}

}  // namespace
