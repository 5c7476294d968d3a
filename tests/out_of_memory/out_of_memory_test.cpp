#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <set>
#include <string>

#include "any_service.h"
#include "failing_allocations.h"
#include "functions.h"
#include "libvemlo_service_client.h"
#include "support/log_capture.h"

namespace OutOfMemory {
namespace {

using Behaviour::Cloud;
using Behaviour::OpenSession;
using Behaviour::Service;

/// The world outside of the library, for which there is always memory.
class ExemptTransport : public CloudStorage::Http::Transport {
 public:
  explicit ExemptTransport(Cloud& cloud) : cloud_(cloud) {}

  CloudStorage::Http::Response send(const CloudStorage::Http::Request& request) override {
    const Exempt scope;
    return cloud_.send(request);
  }

 private:
  Cloud& cloud_;
};

/// An account with a session that is authorized. Of several pages, so that lists grow.
class Fixture {
 public:
  explicit Fixture(const Service& service)
      : service_(service), cloud_(service), handle_(nullptr, service.facts.cleanup) {
    cloud_.pageLength =
        service.facts.listsAllPages && service.facts.name != std::string("Dropbox") ? 20 : 100;
    cloud_.addFolders(45);
    CloudStorage::Client::ClientEnvironment environment;
    environment.transport = std::make_shared<ExemptTransport>(cloud_);
    environment.now = [] { return std::chrono::system_clock::from_time_t(1709195415); };
    environment.sleep = [](std::chrono::milliseconds) {};
    handle_.reset(service.open(environment));
    EXPECT_EQ(service.authorize(handle_.get()), 0);
  }

  Cloud& cloud() { return cloud_; }
  Account account() {
    const int denial = service_.resultOf(service_.accessDenied().failure);
    return {service_, cloud_, handle_.get(), denial};
  }

 private:
  const Service& service_;
  Cloud cloud_;
  OpenSession handle_;
};

/// The outcome of one call of a function.
struct Attempt {
  bool isDone;
  bool hadFailure;
};

Attempt attemptTo(const Function& function, const Account& account) {
  const bool isDone = function.call(account);
  return {isDone, hasFailed()};
}

/// Makes an attempt with each of its allocations failing, first alone, then with all that follow.
/// Ends with one in which none has failed. Leaves some out if `step` is not 1.
template <typename Make>
void forEachAllocation(const Make& make, std::size_t step = 1) {
  constexpr std::size_t kMost = 5000;  // no function comes near
  for (const bool all : {false, true}) {
    Attempt attempt{false, true};
    std::size_t number = 0;
    while (attempt.hadFailure && !testing::Test::HasFailure()) {
      number += step;
      ASSERT_LT(number, kMost);
      SCOPED_TRACE("allocation " + std::to_string(number) + (all ? " and all that follow" : ""));
      setPlan({number, all});
      attempt = make();
    }
    EXPECT_TRUE(attempt.isDone);
  }
}

void expectCompleteListing(Fixture& fixture) {
  setPlan({});
  EXPECT_TRUE(listingOf(fixture.account().service).call(fixture.account()));
}

/// With the log as detailed as possible, but not shown: there is a line for every failure.
class QuietLog {
 public:
  QuietLog() { stderr = quiet_.get(); }
  ~QuietLog() { stderr = before_; }
  QuietLog(const QuietLog&) = delete;
  QuietLog& operator=(const QuietLog&) = delete;

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  const std::unique_ptr<std::FILE, Close> quiet_{std::fopen("/dev/null", "w")};
  std::FILE* const before_ = stderr;
  const TestSupport::VerboseLevel level_{9};
};

class OutOfMemory : public testing::TestWithParam<const Service*> {
 protected:
  /// In a new session each time, and then in one that has been used.
  template <typename Prepare>
  void callEachFunction(const Prepare& prepare) {
    for (const Function& function : functionsOf(*GetParam())) {
      SCOPED_TRACE(function.name);
      callInNewSessions(function, prepare);
      callInOneSession(function, prepare);
    }
  }

 private:
  template <typename Prepare>
  void callInNewSessions(const Function& function, const Prepare& prepare) {
    bool isWarm = false;
    forEachAllocation([&] {
      const auto before = blocksInUse();
      const Attempt attempt = callInNewSession(function, prepare);
      vemlo_client_reset_last_failure();  // which the thread keeps
      // What the first call makes for the whole process stays.
      if (isWarm) {
        EXPECT_EQ(blocksInUse(), before) << "leaked";
      }
      isWarm = true;
      return attempt;
    });
  }

  template <typename Prepare>
  Attempt callInNewSession(const Function& function, const Prepare& prepare) {
    Fixture fixture(*GetParam());
    prepare(fixture);
    const Attempt attempt = attemptTo(function, fixture.account());
    expectCompleteListing(fixture);
    return attempt;
  }

  template <typename Prepare>
  void callInOneSession(const Function& function, const Prepare& prepare) {
    Fixture fixture(*GetParam());
    expectCompleteListing(fixture);
    forEachAllocation([&] {
      prepare(fixture);
      return attemptTo(function, fixture.account());
    });
    expectCompleteListing(fixture);
  }

  const QuietLog log_;
};

TEST_P(OutOfMemory, EndsACallWithAnErrorAndTheSessionWorksOn) {
  callEachFunction([](Fixture&) {});
}

class OutOfMemoryWithTokens : public OutOfMemory {};

TEST_P(OutOfMemoryWithTokens, EndsACallThatRefreshesItsToken) {
  callEachFunction([](Fixture& fixture) { fixture.cloud().expireToken(); });
}

TEST_P(OutOfMemory, EndsACallThatTheServiceRefuses) {
  for (const Function& function : functionsOf(*GetParam())) {
    SCOPED_TRACE(function.name);
    forEachAllocation([&] {
      Fixture fixture(*GetParam());
      fixture.cloud().deniesAccess = true;
      const bool hadFailure = attemptTo(function, fixture.account()).hadFailure;
      fixture.cloud().deniesAccess = false;
      expectCompleteListing(fixture);
      return Attempt{true, hadFailure};
    });
  }
}

INSTANTIATE_TEST_SUITE_P(Services, OutOfMemory, testing::ValuesIn(Behaviour::allServices()),
                         Behaviour::ServiceName());
INSTANTIATE_TEST_SUITE_P(Services, OutOfMemoryWithTokens,
                         testing::ValuesIn(servicesWith(&Service::Facts::usesTokens)),
                         Behaviour::ServiceName());

/// Functions without a session.
void callAlone(const Function& function, const Plan& plan) {
  Cloud cloud(Behaviour::s3());
  setPlan(plan);
  EXPECT_TRUE(function.call({Behaviour::s3(), cloud, nullptr}) || hasFailed());
}

void callAloneWithEachAllocationFailing(const std::vector<Function>& functions) {
  const QuietLog log;
  Cloud cloud(Behaviour::s3());
  for (const Function& function : functions) {
    SCOPED_TRACE(function.name);
    callAlone(function, {});
    const auto before = blocksInUse();
    forEachAllocation([&] { return attemptTo(function, {Behaviour::s3(), cloud, nullptr}); });
    EXPECT_EQ(blocksInUse(), before) << "leaked";
    callAlone(function, {});
  }
}

TEST(OpeningASession, EndsWithNull) { callAloneWithEachAllocationFailing(openingFunctions()); }

TEST(Encryption, EndsWithNull) { callAloneWithEachAllocationFailing(encryptionFunctions()); }

// The crypto library may allocate thousands of blocks for one call, and more after each failure.
TEST(Encryption, NeverReturnsAWrongTextIfTheCryptoLibraryHasNoMemory) {
  const QuietLog log;
  constexpr std::size_t kMost = 300;
  Cloud cloud(Behaviour::s3());
  for (const Function& function : encryptionFunctions()) {
    for (std::size_t number = 1; number < kMost; ++number) {
      SCOPED_TRACE(function.name + ", allocation " + std::to_string(number));
      setPlan({number, false, true});
      function.call({Behaviour::s3(), cloud, nullptr});
    }
    callAlone(function, {});
  }
}

TEST(OtherFunctions, NeedNoMemory) {
  for (const Function& function : infallibleFunctions()) {
    SCOPED_TRACE(function.name);
    callAlone(function, {1, true});
  }
}

TEST(ExportedFunctions, AreAllCalledHere) {
  std::set<std::string> called;
  const auto add = [&called](const std::vector<Function>& functions) {
    for (const Function& function : functions) called.insert(function.name);
  };
  for (const Service* service : Behaviour::allServices()) add(functionsOf(*service));
  add(openingFunctions());
  add(encryptionFunctions());
  add(infallibleFunctions());

  std::set<std::string> exported;
  std::ifstream list(EXPORTED_SYMBOLS);
  for (std::string line; std::getline(list, line);) {
    const std::string name = line.substr(0, line.find('@'));
    if (name != "verbose") exported.insert(name);
  }
  EXPECT_EQ(called, exported);
  EXPECT_EQ(called.size(), 57U);
}

// A sanitizer makes copies of the process expensive.
#if defined(__has_feature)
constexpr std::size_t kStepOfProcesses = __has_feature(address_sanitizer) ? 17 : 1;
#else
constexpr std::size_t kStepOfProcesses = 1;
#endif

/// Makes an attempt in a copy of this process. A crash counts as a failed expectation.
template <typename Make>
Attempt attemptInChild(const Make& make) {
  enum Status { Done = 10, NotDone, HadFailure, Unexpected };
  std::fflush(stdout);
  const pid_t child = ::fork();
  if (child == 0) {
    const Attempt attempt = make();
    std::fflush(stdout);
    const Status whole = attempt.isDone ? Done : NotDone;
    const Status status = attempt.hadFailure ? HadFailure : whole;
    ::_exit(testing::Test::HasFailure() ? Unexpected : status);
  }
  int status = 0;
  EXPECT_EQ(::waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
  EXPECT_NE(WEXITSTATUS(status), Unexpected);
  return {WEXITSTATUS(status) == Done, WEXITSTATUS(status) == HadFailure};
}

/// The first call of a process also makes what all later ones share. Each allocation fails in a
/// process of its own. If other tests ran in this one before, there is less to make.
TEST(FirstCallOfAProcess, EndsWithAnErrorAndTheNextOneWorks) {
  const QuietLog log;
  verbose = 9;
  std::vector<Function> functions = openingFunctions();
  for (const Function& function : encryptionFunctions()) functions.push_back(function);
  for (const Function& function : functions) {
    SCOPED_TRACE(function.name);
    forEachAllocation(
        [&] {
          return attemptInChild([&] {
            Cloud cloud(Behaviour::s3());
            const Account account{Behaviour::s3(), cloud, nullptr};
            const Attempt attempt = attemptTo(function, account);
            setPlan({});
            EXPECT_TRUE(function.call(account));
            return attempt;
          });
        },
        kStepOfProcesses);
  }
}

class FirstListingOfAProcess : public testing::TestWithParam<const Service*> {};

TEST_P(FirstListingOfAProcess, EndsWithAnErrorAndTheNextOneWorks) {
  const QuietLog log;
  verbose = 9;
  forEachAllocation(
      [] {
        return attemptInChild([] {
          Fixture fixture(*GetParam());
          const Attempt attempt = attemptTo(listingOf(*GetParam()), fixture.account());
          expectCompleteListing(fixture);
          return attempt;
        });
      },
      kStepOfProcesses);
}

INSTANTIATE_TEST_SUITE_P(Services, FirstListingOfAProcess,
                         testing::ValuesIn(Behaviour::allServices()), Behaviour::ServiceName());

}  // namespace
}  // namespace OutOfMemory
