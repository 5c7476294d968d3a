#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <memory>
#include <new>
#include <thread>

#include "Client/CallControl.h"
#include "Http/CurlTransport.h"
#include "Util/CancelEvent.h"
#include "support/google_drive_fixture.h"
#include "support/loopback_server.h"

namespace {

using namespace std::chrono_literals;
using CloudStorage::Util::CancelEvent;

TEST(CancelEvent, IsTriggeredUntilItIsReset) {
  const CancelEvent event;
  EXPECT_FALSE(event.isTriggered());
  event.trigger();
  event.trigger();
  EXPECT_TRUE(event.isTriggered());
  EXPECT_TRUE(event.isTriggered());
  event.reset();
  EXPECT_FALSE(event.isTriggered());
  event.reset();
  EXPECT_FALSE(event.isTriggered());
  event.trigger();
  EXPECT_TRUE(event.isTriggered());
}

TEST(CancelEvent, WaitEndsAfterItsTimeOrWithTheEvent) {
  const CancelEvent event;
  const auto begin = std::chrono::steady_clock::now();
  event.wait(20ms);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 20ms);
  event.wait(0ms);
  std::thread trigger([&] { event.trigger(); });
  event.wait(24h);  // the test would not end
  trigger.join();
  event.wait(std::chrono::milliseconds::max());
}

const CancelEvent* eventOfHandler = nullptr;

TEST(CancelEvent, MayBeTriggeredByASignalHandlerWhichKeepsErrno) {
  const CancelEvent event;
  eventOfHandler = &event;
  const auto former = std::signal(SIGUSR1, [](int) { eventOfHandler->trigger(); });
  errno = EDOM;
  std::raise(SIGUSR1);
  EXPECT_EQ(errno, EDOM);
  EXPECT_TRUE(event.isTriggered());
  std::signal(SIGUSR1, former);
}

TEST(CancelEvent, ConstructorThrowsWithoutADescriptor) {
  rlimit former{};
  getrlimit(RLIMIT_NOFILE, &former);
  const rlimit none{0, former.rlim_max};
  setrlimit(RLIMIT_NOFILE, &none);
  EXPECT_THROW(CancelEvent(), std::bad_alloc);
  setrlimit(RLIMIT_NOFILE, &former);
}

// A server that reads nothing of a large body.
TEST(CancelEvent, EndsATransferThatIsSending) {
  using CloudStorage::Http::Method;
  TestSupport::LoopbackServer server([](auto& connection) { connection.waitUntilClosed(); });
  CloudStorage::Http::CurlTransport transport({});
  const CancelEvent event;
  auto request = server.request(Method::Put, "/");
  request.body.assign(std::size_t{64} << 20U, 'x');
  request.interrupt.descriptor = event.descriptor();
  std::thread trigger([&] {
    std::this_thread::sleep_for(50ms);
    event.trigger();
  });
  const auto response = transport.send(request);  // would last a minute
  trigger.join();
  EXPECT_TRUE(response.failure);
}

TEST(CancelEvent, CancelsTheCallAlsoIfItIsResetAtOnce) {
  using CloudStorage::Client::CallControl;
  TestSupport::GoogleDriveFixture fixture;
  const auto event = std::make_shared<const CancelEvent>();
  CallControl::ofThread().cancelEvent = event;
  fixture.enqueue([&](const auto&) {  // as a transport does that the event has interrupted
    return TestSupport::failedResponse(CloudStorage::Http::TransportFailure::Kind::Cancelled,
                                       "CURLE_ABORTED_BY_CALLBACK", "aborted", true);
  });
  const auto outcome = fixture.makeClient()->listFileResource({});
  CallControl::ofThread() = {};
  ASSERT_FALSE(outcome.isSuccess());
  EXPECT_EQ(outcome.getError().errorType, CloudStorage::Client::CoreErrors::Cancelled);
  EXPECT_EQ(outcome.getError().exceptionName, "CallCancelled");
  EXPECT_EQ(fixture.requests().size(), 1U);
}

}  // namespace
