#include "libvemlo/retry_strategies.h"

#include <gmock/gmock.h>

#include <atomic>
#include <memory>
#include <ostream>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "support/log_capture.h"

namespace {

using CloudStorage::Auth::OAuth2Credential;
using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::Error;
using CloudStorage::Client::RetryStrategy;
using CloudStorage::Util::Status;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Return;
using TestSupport::errorLine;
using TestSupport::LogCapture;

class MockCredential : public OAuth2Credential {
 public:
  MOCK_METHOD(Status, refreshAccessToken, (), (override));
};

enum class Condition { Never, Always, IfLocated, IfCalledRetryable };

/// The policy of one service. The conditions are those of a retry.
struct Policy {
  const char* name;
  std::unique_ptr<RetryStrategy> (*make)(std::shared_ptr<OAuth2Credential>);
  bool refreshesOn401;
  bool givesUpOnType1;
  Condition type259;
  Condition code500AndAbove;
  Condition code300To308;
};

void PrintTo(const Policy& policy, std::ostream* out) { *out << policy.name; }

template <typename Strategy>
std::unique_ptr<RetryStrategy> make(std::shared_ptr<OAuth2Credential> credential) {
  return std::make_unique<Strategy>(std::move(credential));
}

constexpr auto kNever = Condition::Never;

const Policy kPolicies[] = {
    {"S3", make<S3RetryStrategy>, false, false, kNever, Condition::Always, Condition::IfLocated},
    {"AzureSSB", make<AzureSSBRetryStrategy>, false, true, kNever, Condition::Always,
     Condition::IfLocated},
    {"GoogleDrive", make<GoogleDriveRetryStrategy>, true, false, Condition::IfCalledRetryable,
     kNever, kNever},
    {"AmazonDrive", make<AmazonDriveRetryStrategy>, true, false, Condition::IfCalledRetryable,
     kNever, kNever},
    {"OneDrive", make<OneDriveRetryStrategy>, true, false, kNever, kNever, kNever},
    {"Dropbox", make<DropboxRetryStrategy>, true, false, kNever, kNever, kNever},
};

enum class Credential { None, Refreshes, FailsToRefresh };

/// One cell of the table.
struct Situation {
  int code;
  std::string locationHeader;  // empty: none
  unsigned type;
  bool retryable;
  unsigned long attempted;
  Credential credential;
};

std::ostream& operator<<(std::ostream& out, const Situation& situation) {
  return out << "code " << situation.code << ", header '" << situation.locationHeader << "', type "
             << situation.type << ", retryable " << situation.retryable << ", attempted "
             << situation.attempted << ", credential " << static_cast<int>(situation.credential);
}

struct Expectation {
  bool retries = false;
  bool refreshes = false;
};

bool holds(Condition condition, const Situation& situation) {
  switch (condition) {
    case Condition::Never:
      return false;
    case Condition::Always:
      return true;
    case Condition::IfLocated:
      return situation.locationHeader == "location";
    case Condition::IfCalledRetryable:
      return situation.retryable;
  }
  return false;
}

Expectation expected(const Policy& policy, const Situation& situation) {
  if (situation.attempted > 2) return {};
  if (policy.refreshesOn401 && situation.code == 401) {
    const bool canAsk = situation.credential != Credential::None;
    return {canAsk, canAsk};
  }
  if (policy.givesUpOnType1 && situation.type == 1) return {};
  if (situation.type == 259 && holds(policy.type259, situation)) return {true, false};
  if (situation.code > 499) return {holds(policy.code500AndAbove, situation), false};
  if (situation.code > 299 && situation.code < 309) {
    return {holds(policy.code300To308, situation), false};
  }
  return {};
}

constexpr int kCodes[] = {0,   200, 299, 300, 301, 302, 303, 304, 305, 307, 308, 309,
                          400, 401, 403, 404, 429, 499, 500, 502, 503, 599, 600};
constexpr const char* kLocationHeaders[] = {"", "location", "Location", "LOCATION",
                                            "content-location"};
constexpr unsigned kTypes[] = {1, 2, 15, 258, 259, 260};

std::vector<Situation> situationsOf(int code) {
  std::vector<Situation> all;
  for (const char* header : kLocationHeaders) {
    for (const unsigned type : kTypes) {
      for (const bool retryable : {false, true}) {
        for (unsigned long attempted = 0; attempted <= 4; ++attempted) {
          for (const auto credential :
               {Credential::None, Credential::Refreshes, Credential::FailsToRefresh}) {
            all.push_back({code, header, type, retryable, attempted, credential});
          }
        }
      }
    }
  }
  return all;
}

Error errorOf(const Situation& situation) {
  Error error;
  error.errorType = static_cast<CoreErrors>(situation.type);
  error.exceptionName = "Name";
  error.message = "message";
  error.responseHeaders["date"] = "today";
  if (!situation.locationHeader.empty()) error.responseHeaders[situation.locationHeader] = "there";
  error.retryable = situation.retryable;
  error.httpResponseCode = situation.code;
  return error;
}

std::shared_ptr<MockCredential> credentialOf(const Situation& situation, bool refreshes) {
  if (situation.credential == Credential::None) return nullptr;
  auto credential = std::make_shared<MockCredential>();
  EXPECT_CALL(*credential, refreshAccessToken())
      .Times(refreshes ? 1 : 0)
      .WillRepeatedly(Return(situation.credential == Credential::Refreshes
                                 ? Status()
                                 : Status(42, "the grant is gone")));
  return credential;
}

class RetryTable : public testing::TestWithParam<std::tuple<Policy, int>> {};

TEST_P(RetryTable, HoldsInEveryCell) {
  const auto& [policy, code] = GetParam();
  LogCapture log;
  for (const auto& situation : situationsOf(code)) {
    SCOPED_TRACE(situation);
    log.clear();
    const auto [retries, refreshes] = expected(policy, situation);
    const auto strategy = policy.make(credentialOf(situation, refreshes));

    EXPECT_EQ(strategy->shouldRetry(errorOf(situation), situation.attempted), retries);
    if (refreshes && situation.credential == Credential::FailsToRefresh) {
      EXPECT_THAT(log.records(),
                  ElementsAre(errorLine("Failed to refresh OAuth2 credential. the grant is gone")));
    } else {
      EXPECT_THAT(log.records(), IsEmpty());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Cells, RetryTable,
                         testing::Combine(testing::ValuesIn(kPolicies), testing::ValuesIn(kCodes)),
                         [](const auto& instance) {
                           return std::string(std::get<0>(instance.param).name) + "On" +
                                  std::to_string(std::get<1>(instance.param));
                         });

class AnyRetryStrategy : public testing::TestWithParam<Policy> {};

TEST_P(AnyRetryStrategy, WaitsOneTwoAndThreeSeconds) {
  const auto strategy = GetParam().make(nullptr);
  for (const auto& error : {Error{}, errorOf({503, "location", 259, true, 0, Credential::None})}) {
    EXPECT_EQ(strategy->getDelayBeforeNextRetry(error, 0), 1000);
    EXPECT_EQ(strategy->getDelayBeforeNextRetry(error, 1), 2000);
    EXPECT_EQ(strategy->getDelayBeforeNextRetry(error, 2), 3000);
  }
}

TEST_P(AnyRetryStrategy, NeverRetriesAFourthTime) {
  const auto credential = std::make_shared<testing::StrictMock<MockCredential>>();
  const auto strategy = GetParam().make(credential);
  for (const int code : {301, 401, 429, 503}) {
    for (const unsigned long attempted : {3UL, 4UL, ~0UL}) {
      const auto error = errorOf({code, "location", 259, true, attempted, Credential::Refreshes});
      EXPECT_FALSE(strategy->shouldRetry(error, attempted)) << code << ' ' << attempted;
    }
  }
}

TEST_P(AnyRetryStrategy, KeepsTheCredentialUntilItIsDestroyed) {
  const auto credential = std::make_shared<testing::StrictMock<MockCredential>>();
  auto strategy = GetParam().make(credential);
  EXPECT_EQ(credential.use_count(), 2);
  strategy.reset();
  EXPECT_EQ(credential.use_count(), 1);
}

TEST_P(AnyRetryStrategy, IsSafeToCallOnSeveralThreads) {
  std::atomic<int> refreshes{0};
  const auto credential = std::make_shared<MockCredential>();
  EXPECT_CALL(*credential, refreshAccessToken()).WillRepeatedly([&refreshes] {
    ++refreshes;
    return Status();
  });
  const auto strategy = GetParam().make(credential);
  const auto error = errorOf({401, "", 11, false, 0, Credential::Refreshes});
  constexpr int kThreads = 8;
  constexpr int kCalls = 50;
  std::atomic<int> granted{0};

  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&] {
      for (int call = 0; call < kCalls; ++call) {
        if (strategy->shouldRetry(error, 0)) ++granted;
      }
    });
  }
  for (auto& thread : threads) thread.join();
  // Every 401 refreshes; the credential combines concurrent requests.
  const int all = GetParam().refreshesOn401 ? kThreads * kCalls : 0;
  EXPECT_EQ(refreshes, all);
  EXPECT_EQ(granted, all);
}

INSTANTIATE_TEST_SUITE_P(Services, AnyRetryStrategy, testing::ValuesIn(kPolicies),
                         [](const auto& instance) { return std::string(instance.param.name); });

bool retries(const RetryStrategy& strategy, int code, const std::string& header, unsigned type,
             bool retryable) {
  return strategy.shouldRetry(errorOf({code, header, type, retryable, 0, Credential::None}), 0);
}

TEST(S3RetryStrategy, RetriesARedirectWithALocation) {
  const S3RetryStrategy strategy(nullptr);
  EXPECT_TRUE(retries(strategy, 301, "location", 10, false));
  EXPECT_FALSE(retries(strategy, 301, "", 10, false));
  EXPECT_FALSE(retries(strategy, 309, "location", 10, false));
}

TEST(S3RetryStrategy, RetriesServerErrorsWhateverTheirRetryableFlag) {
  const S3RetryStrategy strategy(nullptr);
  EXPECT_TRUE(retries(strategy, 500, "", 1, false));
  EXPECT_FALSE(retries(strategy, 404, "", 18, true));
}

TEST(AzureSSBRetryStrategy, DoesNotRetryALocalFailureEvenWithA503) {
  const AzureSSBRetryStrategy strategy(nullptr);
  EXPECT_FALSE(retries(strategy, 503, "", 1, true));
  EXPECT_TRUE(retries(strategy, 503, "", 2, false));
}

TEST(GoogleDriveRetryStrategy, RetriesA401EvenIfTheRefreshFailsAndLogsThat) {
  const auto credential = std::make_shared<MockCredential>();
  EXPECT_CALL(*credential, refreshAccessToken()).WillOnce(Return(Status(7, "no luck")));
  const LogCapture log;
  EXPECT_TRUE(retries(GoogleDriveRetryStrategy(credential), 401, "", 11, false));
  EXPECT_THAT(log.records(),
              ElementsAre(errorLine("Failed to refresh OAuth2 credential. no luck")));
}

TEST(GoogleDriveRetryStrategy, RetriesATemporaryFailureThatIsCalledRetryable) {
  const GoogleDriveRetryStrategy strategy(nullptr);
  EXPECT_TRUE(retries(strategy, 429, "", 259, true));
  EXPECT_FALSE(retries(strategy, 429, "", 259, false));
  EXPECT_FALSE(retries(strategy, 429, "", 258, true));
}

TEST(OneDriveRetryStrategy, NeverRetriesA503) {
  const OneDriveRetryStrategy strategy(std::make_shared<testing::StrictMock<MockCredential>>());
  for (const unsigned type : kTypes) EXPECT_FALSE(retries(strategy, 503, "location", type, true));
}

TEST(CoreErrors, HoldTheNumbersThatThePoliciesKnow) {
  static_assert(static_cast<unsigned>(CoreErrors::LocalFailure) == 1);
  static_assert(static_cast<unsigned>(CoreErrors::TemporaryFailure) == 259);
  static_assert(sizeof(CoreErrors) == 4);
}

}  // namespace
