#include <atomic>
#include <chrono>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "fault.h"
#include "faulty_server.h"
#include "loopback.h"
#include "peak_memory.h"
#include "secrets.h"
#include "support/attempt_fixture.h"
#include "support/log_capture.h"
#include "support/sanitizers.h"

namespace Faults {
namespace {

using Behaviour::Cloud;
using Behaviour::Service;
using Behaviour::Subject;
using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;
using testing::StartsWith;

constexpr std::size_t kMaxRetries = 3;
// Of a call's requests: with retries, and what else a client tries in each attempt.
constexpr std::size_t kMaxArrivals = 20;

// A part of a secret that no other text contains. A message may be cut inside a secret.
constexpr std::size_t kPartLength = 5;

/// A fault during a call of a service.
struct Case {
  const Fault* fault;
  const Service* service;
  Call call;
};

void PrintTo(const Case& each, std::ostream* out) { *out << each.fault->name; }

struct CaseName {
  template <typename Info>
  std::string operator()(const Info& instance) const {
    const Case& each = instance.param;
    return std::string(each.service->facts.name) + '_' + nameOf(each.call) + '_' + each.fault->name;
  }
};

/// All calls of all services, each with the faults that can be tried with it.
std::vector<Case> casesOf(std::vector<Fault> chosen) {
  static std::deque<std::vector<Fault>> kept;  // as long as the tests that refer to them
  const std::vector<Fault>& faults = kept.emplace_back(std::move(chosen));
  std::vector<Case> cases;
  for (const Service* service : Behaviour::allServices()) {
    for (const Call call : callsOf(*service)) {
      for (const Fault& fault : faults) {
        if ((fault.calls & call) != 0) cases.push_back({&fault, service, call});
      }
    }
  }
  return cases;
}

/// A client's way to the server, or to a port where nobody listens.
class Line : public Http::Transport {
 public:
  Line(std::uint16_t port, const Http::CurlTransport::Options& options)
      : proper_(port, options), refusing_(refusingPort_.number(), options) {}

  Http::Response send(const Http::Request& request) override {
    return isRefusing ? refusing_.send(request) : proper_.send(request);
  }

  std::atomic<bool> isRefusing{false};

 private:
  TestSupport::RefusingPort refusingPort_;
  Behaviour::Detour proper_;
  Behaviour::Detour refusing_;
};

constexpr std::chrono::milliseconds kLimit{20'000};
constexpr std::chrono::milliseconds kShortLimit{100};

class FaultMatrix : public testing::TestWithParam<Case> {
 protected:
  void SetUp() override {
    Http::CurlTransport::Options options;
    options.acceptCompressed = service.facts.usesTokens;
    // Only a server that is silent is given up after a time, which then is short.
    const bool isSilent = fault.name.find("Silent") == 0;
    options.limits.total = isSilent ? kShortLimit : kLimit;
    line = std::make_shared<Line>(server.port(), options);
    auto environment = fixture.environment();
    environment.transport = line;
    handle.reset(service.open(environment));
    ASSERT_EQ(service.authorize(handle.get()), 0);
    cloud.addFolders(2);
    // The session knows what precedes other calls, and has a connection.
    ASSERT_EQ(perform(listing(), service, handle.get()).code, 0);
    if (call == kTokenRefresh) cloud.expireToken();
  }

  Call listing() const { return service.facts.usesTokens ? kDriveListing : kStoreListing; }

  Effects performAttacked() {
    const PeakMemory memory;
    const Subject subject = subjectOf(call);
    const std::size_t before = server.count(subject);
    server.attack(fault, subject);
    line->isRefusing = fault.refusesConnections;
    const auto begin = std::chrono::steady_clock::now();
    Effects effects = perform(call, service, handle.get());
    duration = std::chrono::steady_clock::now() - begin;
    line->isRefusing = false;
    server.behave();
    arrivals = server.count(subject) - before;
    growth = memory.growthInMebibytes();
    return effects;
  }

  void expectFailure(const Effects& effects) const {
    const int code = failureCodeOf(call, service);
    if (code == 0) {
      EXPECT_GT(effects.code, 0);
    } else {
      EXPECT_EQ(effects.code, code);
    }
    EXPECT_TRUE(effects.isFailure);
    expectLinesOfFailure();
  }

  /// One line for the call. A refresh that fails has lines of its own.
  void expectLinesOfFailure() const {
    auto lines = log.records();
    while (call == kTokenRefresh && lines.size() > 1) {
      EXPECT_THAT(lines.front().text, StartsWith("Failed to refresh OAuth2 credential. "));
      lines.erase(lines.begin());
    }
    const auto texts = failureTextsOf(call, service);
    ASSERT_THAT(lines, SizeIs(texts.empty() ? 0 : 1));
    if (texts.empty()) return;
    EXPECT_EQ(lines[0].severity, google::GLOG_ERROR);
    EXPECT_THAT(lines[0].text, AnyOf(StartsWith(texts.front()), StartsWith(texts.back())));
  }

  void expectNoSecrets() const {
    for (const auto& record : log.records()) {
      EXPECT_THAT(record.text, Not(HasSubstr("\n")));
      EXPECT_LT(record.text.size(), 1500U);
      // The line about a failed exchange ends with the session's tokens, so that a host's support
      // sees which there are.
      const std::string text = record.text.substr(0, record.text.find(", accessToken = "));
      for (const auto& secret : server.secrets()) {
        for (const Writing& writing : writings()) {
          const std::string part = writing.write(secret).substr(0, kPartLength);
          EXPECT_THAT(text, Not(HasSubstr(part))) << writing.name;
        }
      }
    }
  }

  /// The same session lists the folders that there are.
  void expectSessionIsUsable() {
    fixture.wait(std::chrono::minutes(1));  // longer than refusals are remembered
    const Effects effects = perform(listing(), service, handle.get());
    EXPECT_EQ(effects.code, 0);
    EXPECT_EQ(effects.folders, cloud.folders());
  }

  bool isSurvivor() const {
    return (fault.survivors & call) != 0 || (fault.isOfLaterPages && !service.facts.listsAllPages);
  }

  bool mustArriveOnce() const {
    return (call == kDriveCreation || call == kCodeExchange) && !fault.invitesRepetition;
  }

  const Service& service = *GetParam().service;
  const Fault& fault = *GetParam().fault;
  const Call call = GetParam().call;
  TestSupport::AttemptFixture fixture;
  Cloud cloud{service};
  FaultyServer server{cloud, service};
  std::shared_ptr<Line> line;
  Behaviour::OpenSession handle{nullptr, service.facts.cleanup};
  std::size_t arrivals = 0;
  std::size_t growth = 0;
  std::chrono::steady_clock::duration duration{};
  const TestSupport::LogCapture log;
};

TEST_P(FaultMatrix, EndInAClearErrorOrDoNoHarm) {
  const std::size_t delaysBefore = fixture.delays().size();
  const Effects effects = performAttacked();

  if (isSurvivor()) {
    EXPECT_EQ(effects.code, 0);
    EXPECT_THAT(log.records(), SizeIs(0));
  } else {
    expectFailure(effects);
  }
  expectNoSecrets();
  EXPECT_LE(fixture.delays().size() - delaysBefore, kMaxRetries);
  EXPECT_LE(arrivals, mustArriveOnce() ? 1U : kMaxArrivals);
  for (const auto& host : server.hosts()) EXPECT_THAT(host, Not(HasSubstr("attacker")));
  EXPECT_LT(duration, kLimit) << "longer than one request may take";
  if (!TestSupport::kIsSanitized) {
    EXPECT_LE(growth, fault.maxGrowthMebibytes);
  }
  expectSessionIsUsable();
}

INSTANTIATE_TEST_SUITE_P(OfConnections, FaultMatrix, testing::ValuesIn(casesOf(connectionFaults())),
                         CaseName());
INSTANTIATE_TEST_SUITE_P(OfHeads, FaultMatrix, testing::ValuesIn(casesOf(headFaults())),
                         CaseName());
INSTANTIATE_TEST_SUITE_P(OfBodies, FaultMatrix, testing::ValuesIn(casesOf(bodyFaults())),
                         CaseName());
INSTANTIATE_TEST_SUITE_P(OfListings, FaultMatrix, testing::ValuesIn(casesOf(listingFaults())),
                         CaseName());
INSTANTIATE_TEST_SUITE_P(OfStatus, FaultMatrix, testing::ValuesIn(casesOf(statusFaults())),
                         CaseName());
INSTANTIATE_TEST_SUITE_P(OfRedirects, FaultMatrix, testing::ValuesIn(casesOf(redirectFaults())),
                         CaseName());
INSTANTIATE_TEST_SUITE_P(OfQuotations, FaultMatrix, testing::ValuesIn(casesOf(quotationFaults())),
                         CaseName());

}  // namespace
}  // namespace Faults
