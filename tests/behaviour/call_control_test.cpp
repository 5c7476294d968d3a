// What a host sets for the calls of a thread: cancellation, deadline and progress.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "any_service.h"
#include "libvemlo_service_client.h"

namespace Behaviour {
namespace {

using testing::Gt;
using testing::IsEmpty;
using testing::Lt;
using testing::Not;

struct ReleaseCancellation {
  void operator()(vemlo_client_cancellation* cancellation) const {
    vemlo_client_cancellation_release(cancellation);
  }
};
using Cancellation = std::unique_ptr<vemlo_client_cancellation, ReleaseCancellation>;

Cancellation makeCancellation() { return Cancellation(vemlo_client_cancellation_create()); }

using Observer = std::function<int(const vemlo_client_progress&)>;

/// Calls `observer` with the progress of this thread's calls, for as long as the object exists.
class Observed {
 public:
  explicit Observed(Observer observer) : observer_(std::move(observer)) {
    vemlo_client_set_progress_callback(
        [](const vemlo_client_progress* progress, void* user) {
          return static_cast<Observed*>(user)->observer_(*progress);
        },
        this);
  }
  ~Observed() { vemlo_client_set_progress_callback(nullptr, nullptr); }
  Observed(const Observed&) = delete;
  Observed& operator=(const Observed&) = delete;

 private:
  Observer observer_;
};

class CallControl : public AnyService {
 protected:
  void TearDown() override {
    vemlo_client_set_cancellation(nullptr);
    vemlo_client_set_deadline(0);
    vemlo_client_set_progress_callback(nullptr, nullptr);
    vemlo_client_reset_last_failure();
  }

  static vemlo_client_failure lastFailure() {
    vemlo_client_failure failure{};
    failure.size = sizeof failure;
    EXPECT_EQ(vemlo_client_get_last_failure(&failure), 0);
    return failure;
  }

  /// Whether `operation` fails with this reason, and without a request.
  void expectEnded(const Operation& operation, session* handle, vemlo_client_kind kind, int code) {
    SCOPED_TRACE(operation.name);
    const std::size_t before = cloud->count();
    Outs outs;
    EXPECT_EQ(operation.call(handle, outs), service().facts.usesTokens ? 1 : code);
    EXPECT_EQ(outs.state(), operation.afterFailure);
    EXPECT_EQ(cloud->count(), before);
    EXPECT_EQ(lastFailure().kind, kind);
    EXPECT_EQ(lastFailure().error, code);
    EXPECT_EQ(lastFailure().http_status, 0);
  }

  bool lists(session* handle) const {
    Outs outs;
    return service().listing().call(handle, outs) == 0;
  }
};

TEST_P(CallControl, CancelledCallSendsNoRequest) {
  const auto handle = openAuthorized();
  ASSERT_TRUE(lists(handle.get()));  // what precedes other calls is known then
  const Cancellation cancellation = makeCancellation();
  vemlo_client_set_cancellation(cancellation.get());
  vemlo_client_cancellation_trigger(cancellation.get());
  for (const Operation& operation : service().operations()) {
    expectEnded(operation, handle.get(), VEMLO_CLIENT_CANCELLED, 28);
  }
  vemlo_client_cancellation_reset(cancellation.get());
  EXPECT_TRUE(lists(handle.get()));
}

TEST_P(CallControl, CallAfterItsDeadlineSendsNoRequest) {
  const auto handle = openAuthorized();
  ASSERT_TRUE(lists(handle.get()));
  // The clock of the calls is that of the fixture, and the deadline lies before its present.
  ASSERT_EQ(vemlo_client_set_deadline(1), 0);
  for (const Operation& operation : service().operations()) {
    expectEnded(operation, handle.get(), VEMLO_CLIENT_DEADLINE, 29);
  }
  ASSERT_EQ(vemlo_client_set_deadline(0), 0);
  EXPECT_TRUE(lists(handle.get()));
}

TEST_P(CallControl, CancellationOfOneThreadDoesNotEndCallsOfOthers) {
  const auto handle = openAuthorized();
  const Cancellation cancellation = makeCancellation();
  vemlo_client_set_cancellation(cancellation.get());
  vemlo_client_cancellation_trigger(cancellation.get());
  bool succeeded = false;
  std::thread([&] { succeeded = lists(handle.get()); }).join();
  EXPECT_TRUE(succeeded);
  EXPECT_FALSE(lists(handle.get()));
}

TEST_P(CallControl, ReleasedCancellationStillConcernsItsThreads) {
  const auto handle = openAuthorized();
  Cancellation cancellation = makeCancellation();
  vemlo_client_set_cancellation(cancellation.get());
  vemlo_client_cancellation_trigger(cancellation.get());
  cancellation.reset();
  EXPECT_FALSE(lists(handle.get()));
  vemlo_client_set_cancellation(nullptr);
  EXPECT_TRUE(lists(handle.get()));
}

TEST_P(CallControl, FailureIsNotRetriedOnceTheCallIsCancelled) {
  const auto handle = openAuthorized();
  ASSERT_TRUE(lists(handle.get()));
  const Cancellation cancellation = makeCancellation();
  vemlo_client_set_cancellation(cancellation.get());
  cloud->responseToAll = TestSupport::response(503, "");
  cloud->onRequest = [&] { vemlo_client_cancellation_trigger(cancellation.get()); };
  const std::size_t before = cloud->count();
  EXPECT_FALSE(lists(handle.get()));
  EXPECT_EQ(cloud->count(), before + 1);
  EXPECT_EQ(lastFailure().kind, VEMLO_CLIENT_CANCELLED);
}

TEST_P(CallControl, ProgressCountsWhatHasArrived) {
  cloud->pageLength = 2;
  cloud->addFolders(5);
  const auto handle = openAuthorized();
  std::vector<std::uint64_t> requests;
  std::vector<std::uint64_t> entries;
  std::vector<std::uint64_t> bytes;
  const std::size_t before = cloud->count();
  const Observed observed([&](const vemlo_client_progress& progress) {
    EXPECT_EQ(progress.size, sizeof progress);
    EXPECT_THAT(progress.operation, Not(testing::StrEq("")));
    EXPECT_THAT(progress.service, testing::AllOf(Gt(0), Lt(7)));
    requests.push_back(progress.requests);
    entries.push_back(progress.entries);
    bytes.push_back(progress.bytes);
    return 0;
  });
  ASSERT_TRUE(lists(handle.get()));
  ASSERT_EQ(requests.size(), cloud->count() - before);
  for (std::size_t i = 0; i < requests.size(); ++i) EXPECT_EQ(requests[i], i + 1);
  const unsigned expected = service().facts.listsAllPages ? 5 : 2;
  EXPECT_EQ(entries.back(), expected + 2 * service().facts.probes);
  EXPECT_TRUE(std::is_sorted(bytes.begin(), bytes.end()));
  EXPECT_GT(bytes.back(), 10U);

  // Each call is counted anew.
  requests.clear();
  ASSERT_TRUE(lists(handle.get()));
  EXPECT_EQ(requests.front(), 1U);
}

TEST_P(CallControl, ProgressCallbackCancelsItsCallOnly) {
  cloud->pageLength = 2;
  cloud->addFolders(5);
  const auto handle = openAuthorized();
  int calls = 0;
  {
    const Observed observed([&](const vemlo_client_progress& /*progress*/) {
      ++calls;
      return 1;
    });
    const std::size_t before = cloud->count();
    Outs outs;
    const int code = service().listing().call(handle.get(), outs);
    EXPECT_EQ(cloud->count(), before + 1);
    EXPECT_EQ(calls, 1);
    if (service().facts.listsAllPages || service().facts.probes > 0) {
      EXPECT_NE(code, 0);
      EXPECT_EQ(outs.state(), service().listing().afterFailure);
      EXPECT_EQ(lastFailure().kind, VEMLO_CLIENT_CANCELLED);
    } else {
      EXPECT_EQ(code, 0) << "although no further request was necessary";
    }
  }
  EXPECT_TRUE(lists(handle.get()));
}

TEST_P(CallControl, CallsOfTheProgressCallbackAreNotReported) {
  cloud->addFolders(3);
  const auto handle = openAuthorized();
  ASSERT_TRUE(lists(handle.get()));
  int calls = 0;
  const Observed observed([&](const vemlo_client_progress& progress) {
    ++calls;
    EXPECT_EQ(progress.requests, static_cast<std::uint64_t>(calls));
    EXPECT_TRUE(lists(handle.get()));
    return 0;
  });
  const std::size_t before = cloud->count();
  EXPECT_TRUE(lists(handle.get()));
  const auto requests = static_cast<std::size_t>(calls);
  EXPECT_EQ(cloud->count() - before, requests + requests * requests);
}

/// Passes requests on and keeps a copy of each in text form.
class Witness : public CloudStorage::Http::Transport {
 public:
  explicit Witness(std::shared_ptr<CloudStorage::Http::Transport> next) : next_(std::move(next)) {}

  CloudStorage::Http::Response send(const CloudStorage::Http::Request& request) override {
    std::string text = methodName(request.method) + (' ' + request.uri.toString());
    for (const auto& [name, value] : request.headers) text += '\n' + name + ": " + value;
    requests.push_back(text + "\n\n" + request.body);
    return next_->send(request);
  }

  std::vector<std::string> requests;

 private:
  std::shared_ptr<CloudStorage::Http::Transport> next_;
};

TEST_P(CallControl, RequestsAndLogAreTheSameAsWithoutIt) {
  const auto trace = [&] {
    const auto witness = std::make_shared<Witness>(std::make_shared<Cloud>(service()));
    auto environment = fixture.environment();
    environment.now = [] { return std::chrono::system_clock::from_time_t(1709195415); };
    environment.transport = witness;
    const OpenSession handle(service().open(environment), service().facts.cleanup);
    EXPECT_EQ(service().authorize(handle.get()), 0);
    const TestSupport::LogCapture ownLog;
    for (const Operation& operation : service().operations()) {
      Outs outs;
      EXPECT_EQ(operation.call(handle.get(), outs), 0);
    }
    Outs outs;
    service().creationOf("new").call(handle.get(), outs);  // exists already, mostly
    for (const auto& record : ownLog.records()) witness->requests.push_back(record.text);
    return witness->requests;
  };
  const auto before = trace();
  EXPECT_THAT(before, Not(IsEmpty()));

  const Cancellation cancellation = makeCancellation();
  vemlo_client_set_cancellation(cancellation.get());
  vemlo_client_set_deadline(INT64_MAX);
  const Observed observed([](const vemlo_client_progress& /*progress*/) { return 0; });
  EXPECT_EQ(trace(), before);
}

INSTANTIATE_TEST_SUITE_P(Services, CallControl, testing::ValuesIn(allServices()), ServiceName());

using ControlledRenewal = CallControl;

TEST_P(ControlledRenewal, ProgressCallbackMayUseTheSessionAfterARenewal) {
  cloud->addFolders(3);
  const auto handle = openAuthorized();
  ASSERT_TRUE(lists(handle.get()));
  cloud->expireToken();
  bool isRenewalReported = false;
  bool hasListed = false;
  const Observed observed([&](const vemlo_client_progress& progress) {
    if (std::string(progress.operation) != "refreshAccessToken") return 0;
    isRenewalReported = true;
    hasListed = lists(handle.get());
    return 0;
  });
  EXPECT_TRUE(lists(handle.get()));
  EXPECT_TRUE(isRenewalReported);
  EXPECT_TRUE(hasListed);
  EXPECT_EQ(cloud->count(Subject::Tokens), 2U);
}

TEST_P(ControlledRenewal, FailedRenewalExplainsTheFailureWhateverTheCallbackCalls) {
  const auto handle = openAuthorized();
  ASSERT_TRUE(lists(handle.get()));
  cloud->expireToken();
  cloud->refusesNewTokens = true;
  const auto other = openAuthorized(std::make_shared<Cloud>(service()));
  const Observed observed([&](const vemlo_client_progress& /*progress*/) {
    EXPECT_TRUE(lists(other.get()));
    return 0;
  });
  EXPECT_FALSE(lists(handle.get()));
  EXPECT_EQ(lastFailure().kind, VEMLO_CLIENT_LINK_AGAIN);
  EXPECT_STREQ(lastFailure().operation, "refreshAccessToken");
}

INSTANTIATE_TEST_SUITE_P(Services, ControlledRenewal,
                         testing::ValuesIn(servicesWith(&Service::Facts::usesTokens)),
                         ServiceName());

constexpr std::size_t kThreads = 16;
constexpr int kRounds = 10'000;

using ConcurrentControl = CallControl;

// Every thread has a deadline, a cancellation and progress of its own. Cancellations are triggered
// by other threads, also while calls end, and callbacks make calls.
TEST_P(ConcurrentControl, CallsEndInOneWayOrTheOther) {
  cloud->pageLength = 2;
  cloud->addFolders(4);
  const auto handle = openAuthorized();
  ASSERT_TRUE(lists(handle.get()));

  std::vector<Cancellation> cancellations;
  for (std::size_t i = 0; i < kThreads; ++i) cancellations.push_back(makeCancellation());
  std::atomic<int> rounds{0};
  std::atomic<int> wrong{0};
  const auto work = [&](std::size_t number) {
    std::minstd_rand random(static_cast<unsigned>(number + 1));
    vemlo_client_cancellation* const own = cancellations[number].get();
    vemlo_client_set_cancellation(own);
    const Observed observed([&](const vemlo_client_progress& progress) {
      if (random() % 16 == 0) lists(handle.get());
      return progress.requests > 1 && random() % 8 == 0 ? 1 : 0;
    });
    while (rounds++ < kRounds) {
      vemlo_client_reset_last_failure();
      vemlo_client_set_deadline(random() % 4 == 0 ? 1 : 0);
      if (random() % 64 == 0) cloud->expireToken();
      vemlo_client_cancellation_trigger(cancellations[random() % kThreads].get());
      if (random() % 4 != 0) vemlo_client_cancellation_reset(own);
      const bool succeeded = lists(handle.get());
      vemlo_client_failure failure{};
      failure.size = sizeof failure;
      vemlo_client_get_last_failure(&failure);
      const bool isEnded =
          failure.kind == VEMLO_CLIENT_CANCELLED || failure.kind == VEMLO_CLIENT_DEADLINE;
      if (!succeeded && !isEnded) ++wrong;
      vemlo_client_cancellation_reset(own);
    }
  };
  std::vector<std::thread> threads;
  for (std::size_t number = 0; number < kThreads; ++number) threads.emplace_back(work, number);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_TRUE(lists(handle.get()));
}

INSTANTIATE_TEST_SUITE_P(Services, ConcurrentControl, testing::Values(&googleDrive()),
                         ServiceName());

}  // namespace
}  // namespace Behaviour
