#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "any_service.h"
#include "loopback.h"

namespace Behaviour {
namespace {

using testing::AllOf;
using testing::Each;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::size_t kThreads = 12;

/// Concurrent calls over real connections.
class Concurrency : public AnyService {
 protected:
  OpenSession openOverConnections() {
    return openAuthorized(std::make_shared<Detour>(server.port()));
  }

  /// Whether a listing of the parent succeeds and equals `expected`.
  bool lists(session* handle, const std::vector<Folder>& expected) const {
    Outs outs;
    return service().listing().call(handle, outs) == 0 && outs.folders.folders() == expected;
  }

  CloudServer server{*cloud};
};

/// Threads that run `body` with their number. join() returns how many of the results were true.
class Threads {
 public:
  Threads(std::size_t count, const std::function<bool(std::size_t)>& body) {
    for (std::size_t number = 0; number < count; ++number) {
      threads_.emplace_back([this, body, number] {
        if (body(number)) ++successes_;
      });
    }
  }

  std::size_t join() {
    for (std::thread& thread : threads_) thread.join();
    return successes_;
  }

 private:
  std::atomic<std::size_t> successes_{0};
  std::vector<std::thread> threads_;
};

TEST_P(Concurrency, EachCallHasAConnectionThatLaterCallsReuse) {
  cloud->addFolders(5);
  const auto expected = cloud->folders();
  const auto handle = openOverConnections();

  cloud->holdPages();
  Threads threads(kThreads, [&](std::size_t) { return lists(handle.get(), expected); });
  cloud->waitForPages(kThreads);
  cloud->releasePages();
  EXPECT_EQ(threads.join(), kThreads);
  EXPECT_EQ(cloud->count(Subject::Page), kThreads * (1 + service().facts.probes));
  EXPECT_EQ(server.connectionCount(), kThreads);

  for (int i = 0; i < 3; ++i) EXPECT_TRUE(lists(handle.get(), expected));
  EXPECT_EQ(server.connectionCount(), kThreads);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(Concurrency, SequentialCallsShareConnections) {
  const auto handle = openOverConnections();
  for (const Operation& operation : service().operations()) {
    SCOPED_TRACE(operation.name);
    Outs outs;
    EXPECT_EQ(operation.call(handle.get(), outs), 0);
  }
  // Those of the drives open another one to create a folder.
  EXPECT_EQ(server.connectionCount(), service().facts.usesTokens ? 2U : 1U);
}

TEST_P(Concurrency, CallsOfEveryKindDoNotDisturbEachOther) {
  const auto handle = openOverConnections();
  const auto others = service().otherOperations();
  Threads threads(kThreads, [&](std::size_t number) {
    Outs created;
    Outs listed;
    const std::string name = "new-" + std::to_string(number);
    bool succeeds = service().creationOf(name).call(handle.get(), created) == 0 &&
                    service().listing().call(handle.get(), listed) == 0;
    for (const Operation& operation : others) {
      Outs outs;
      succeeds = operation.call(handle.get(), outs) == 0 && succeeds;
    }
    return succeeds;
  });
  EXPECT_EQ(threads.join(), kThreads);
  EXPECT_THAT(cloud->folders(), SizeIs(kThreads));
  EXPECT_TRUE(lists(handle.get(), cloud->folders()));
}

TEST_P(Concurrency, FailureInOneSessionDoesNotAffectAnother) {
  cloud->pageLength = 2;
  cloud->addFolders(5);
  const auto good = openOverConnections();
  Cloud refusing(service());
  refusing.deniedPage = 1;
  const CloudServer refusingServer(refusing);
  const auto bad = openAuthorized(std::make_shared<Detour>(refusingServer.port()));
  auto expected = cloud->folders();
  if (!service().facts.listsAllPages) expected.resize(cloud->pageLength);

  const int refused = service().resultOf(service().accessDenied().failure);
  Threads threads(kThreads, [&](std::size_t number) {
    if (number % 2 == 0) return lists(good.get(), expected);
    Outs outs;
    const Operation listing = service().listing();
    return listing.call(bad.get(), outs) == refused && outs.state() == listing.afterFailure;
  });
  EXPECT_EQ(threads.join(), kThreads);
  const auto line = linesOf(service().listing(), service().accessDenied().failure).front();
  EXPECT_THAT(log.records(), AllOf(SizeIs(kThreads / 2), Each(line)));
}

TEST_P(Concurrency, FailureOfOneCallDoesNotAffectOthersOfTheSession) {
  cloud->addFolders(5);
  cloud->deniedName = "denied";
  const auto expected = cloud->folders();
  const auto handle = openOverConnections();
  const Operation creation = service().creationOf("denied");
  const Failure failure = service().accessDenied().failure;
  Threads threads(kThreads, [&](std::size_t number) {
    if (number % 2 == 0) return lists(handle.get(), expected);
    Outs outs;
    return creation.call(handle.get(), outs) == service().resultOf(failure) &&
           outs.state() == creation.afterFailure;
  });
  EXPECT_EQ(threads.join(), kThreads);
  const auto lines = linesOf(creation, failure);
  EXPECT_THAT(log.records(), SizeIs(lines.size() * kThreads / 2));
  if (!lines.empty()) {
    EXPECT_THAT(log.records(), Each(lines.front()));
  }
}

INSTANTIATE_TEST_SUITE_P(Services, Concurrency, testing::ValuesIn(allServices()), ServiceName());

using ConcurrentRenewal = Concurrency;

TEST_P(ConcurrentRenewal, IsDoneOnceForAllRunningCalls) {
  cloud->addFolders(5);
  const auto expected = cloud->folders();
  const auto handle = openOverConnections();
  cloud->expireToken();
  Threads threads(kThreads, [&](std::size_t) { return lists(handle.get(), expected); });
  EXPECT_EQ(threads.join(), kThreads);
  EXPECT_EQ(cloud->count(Subject::Tokens), 2U);
  EXPECT_THAT(log.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Services, ConcurrentRenewal,
                         testing::ValuesIn(servicesWith(&Service::Facts::usesTokens)),
                         ServiceName());

// Not for S3: its client is destroyed with the session, which must not be closed during a call.
using CleanupDuringCalls = Concurrency;

TEST_P(CleanupDuringCalls, DoesNotDisturbThem) {
  cloud->pageLength = 2;
  cloud->addFolders(5);
  const auto expected = cloud->folders();
  auto handle = openOverConnections();
  session* const used = handle.get();

  cloud->holdPages();
  Threads threads(kThreads, [&](std::size_t) { return lists(used, expected); });
  cloud->waitForPages(kThreads);
  handle.reset();
  cloud->releasePages();
  EXPECT_EQ(threads.join(), kThreads);
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST_P(CleanupDuringCalls, DestroysTheClientAfterTheCall) {
  for (const Operation& operation : service().operations()) {
    SCOPED_TRACE(operation.name);
    auto handle = openAuthorized();
    const auto client = service().clientOf(*handle);
    cloud->onRequest = [&] {
      handle.reset();
      EXPECT_FALSE(client.expired());
    };
    Outs outs;
    EXPECT_EQ(operation.call(handle.get(), outs), 0);
    EXPECT_EQ(handle, nullptr);
    EXPECT_TRUE(client.expired());
    cloud->onRequest = nullptr;
  }
}

INSTANTIATE_TEST_SUITE_P(Services, CleanupDuringCalls,
                         testing::ValuesIn(servicesWith(&Service::Facts::mayBeClosedDuringCalls)),
                         ServiceName());

}  // namespace
}  // namespace Behaviour
