// The reports of renewed tokens to the host: their order, and who waits for them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Client/RunningCall.h"
#include "CloudStorage/Auth/OAuth2Credential.h"

namespace {

namespace Client = CloudStorage::Client;
using CloudStorage::Auth::OAuth2Credential;
using CloudStorage::Auth::TokenRefresher;
using CloudStorage::Util::Status;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

std::string nameOf(const TokenRefresher::Tokens& tokens) {
  return tokens.accessToken + '/' + tokens.refreshToken;
}

/// Issues the tokens "a1" and "r1", "a2" and "r2", and so on, and records the reports. Safe for
/// concurrent calls.
class ReportingRefresher : public TokenRefresher {
 public:
  Status refresh(Tokens& tokens) override {
    if (onRefresh) onRefresh();
    const std::lock_guard<std::mutex> lock(mutex_);
    ++refreshes_;
    if (refusesAll) return {400, "invalid_grant"};
    const std::string number = std::to_string(refreshes_);
    tokens = {"a" + number, "r" + number, 3600};
    return {};
  }

  void report(const Tokens& former, const Tokens& renewed) const override {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      reports_.push_back(nameOf(former) + " -> " + nameOf(renewed));
    }
    if (onReport) onReport(renewed.accessToken);
  }

  std::size_t refreshes() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return refreshes_;
  }
  std::vector<std::string> reports() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return reports_;
  }

  // To be set while no refresh runs.
  std::function<void()> onRefresh;
  std::function<void(const std::string& accessToken)> onReport;
  bool refusesAll = false;

 private:
  mutable std::mutex mutex_;
  std::size_t refreshes_ = 0;
  mutable std::vector<std::string> reports_;
};

class OAuth2CredentialReport : public ::testing::Test {
 protected:
  OAuth2CredentialReport() {
    credential.setTokenRefresher(refresher);
    credential.setTokens("a0", "r0");
  }

  // The steps of a call whose access token is refused.
  Status attemptAndRefresh() {
    credential.accessTokenForAttempt();
    return credential.refreshAccessToken();
  }

  // The same in another thread, by a call that has no time to wait.
  Status attemptAndRefreshWithoutTime() {
    return std::async(std::launch::async,
                      [this] {
                        Client::CallBudget::TimePoint now;
                        const Client::RunningCall::Clock clock = [&now] { return now; };
                        Client::CallBudget budget;
                        const Client::RunningCall call(budget, clock,
                                                       CloudStorage::Client::Service::GoogleDrive);
                        budget.timeLeft(now);
                        now += Client::CallBudget::kTime;
                        return attemptAndRefresh();
                      })
        .get();
  }

  std::shared_ptr<ReportingRefresher> refresher = std::make_shared<ReportingRefresher>();
  OAuth2Credential credential;
};

constexpr char kNotInTime[] = "Another refresh has not ended in time.";

TEST_F(OAuth2CredentialReport, StatesTheFormerAndTheRenewedTokens) {
  EXPECT_TRUE(attemptAndRefresh().isSuccess());
  EXPECT_TRUE(attemptAndRefresh().isSuccess());
  EXPECT_THAT(refresher->reports(), ElementsAre("a0/r0 -> a1/r1", "a1/r1 -> a2/r2"));
}

TEST_F(OAuth2CredentialReport, FollowsTheChangeOfTheTokens) {
  std::string seen;
  refresher->onReport = [&](const std::string&) { seen = credential.accessToken(); };
  EXPECT_TRUE(attemptAndRefresh().isSuccess());
  EXPECT_EQ(seen, "a1");
}

TEST_F(OAuth2CredentialReport, FailedRefreshHasNone) {
  refresher->refusesAll = true;
  EXPECT_FALSE(attemptAndRefresh().isSuccess());
  EXPECT_THAT(refresher->reports(), IsEmpty());
}

TEST_F(OAuth2CredentialReport, TokensThatTheHostHasReplacedMeanwhileAreReported) {
  refresher->onRefresh = [this] { credential.setTokens("set", "set, too"); };
  EXPECT_TRUE(attemptAndRefresh().isSuccess());
  EXPECT_THAT(refresher->reports(), ElementsAre("a0/r0 -> a1/r1"));
  EXPECT_EQ(credential.accessToken(), "set");
  EXPECT_EQ(credential.refreshToken(), "set, too");
}

TEST_F(OAuth2CredentialReport, RunsOnTheThreadOfTheRefresh) {
  std::thread::id reporter;
  refresher->onReport = [&](const std::string&) { reporter = std::this_thread::get_id(); };
  EXPECT_TRUE(attemptAndRefresh().isSuccess());
  EXPECT_EQ(reporter, std::this_thread::get_id());
}

TEST_F(OAuth2CredentialReport, ExceptionChangesNothing) {
  refresher->onReport = [](const std::string&) { throw std::runtime_error("the host's"); };
  EXPECT_TRUE(attemptAndRefresh().isSuccess());
  EXPECT_EQ(credential.accessToken(), "a1");
  refresher->onReport = [](const std::string&) { throw 7; };
  EXPECT_TRUE(attemptAndRefresh().isSuccess());
  EXPECT_TRUE(
      std::async(std::launch::async, [this] { return attemptAndRefresh(); }).get().isSuccess());
  EXPECT_EQ(credential.accessToken(), "a3");
}

TEST_F(OAuth2CredentialReport, ThreadsThatShareTheResultDoNotWaitForIt) {
  std::promise<void> attemptMade;
  std::promise<void> reportBegun;
  std::promise<Status> shared;
  std::thread sharer([&] {
    credential.accessTokenForAttempt();
    attemptMade.set_value();
    reportBegun.get_future().wait();
    shared.set_value(credential.refreshAccessToken());
  });
  refresher->onReport = [&](const std::string&) {
    reportBegun.set_value();
    EXPECT_TRUE(shared.get_future().get().isSuccess());  // before the report ends
  };
  attemptMade.get_future().wait();
  EXPECT_TRUE(attemptAndRefresh().isSuccess());
  sharer.join();
  EXPECT_THAT(refresher->reports(), SizeIs(1));
}

TEST_F(OAuth2CredentialReport, SixteenThreadsWithTheSameTokenHaveOne) {
  constexpr int kThreads = 16;
  std::atomic<int> attempts{0};
  std::promise<void> allAttempted;
  const auto begin = allAttempted.get_future().share();
  std::atomic<int> ended{0};
  std::promise<void> othersEnded;
  refresher->onReport = [&](const std::string&) { othersEnded.get_future().wait(); };

  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&, begin] {
      credential.accessTokenForAttempt();
      if (++attempts == kThreads) allAttempted.set_value();
      begin.wait();
      EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
      if (++ended == kThreads - 1) othersEnded.set_value();
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_THAT(refresher->reports(), ElementsAre("a0/r0 -> a1/r1"));
}

TEST_F(OAuth2CredentialReport, FurtherRefreshOfAnotherThreadWaitsForItsEnd) {
  std::string status;
  refresher->onReport = [&](const std::string&) {
    status = attemptAndRefreshWithoutTime().toString();
    EXPECT_EQ(refresher->refreshes(), 1U);
  };
  EXPECT_TRUE(attemptAndRefresh().isSuccess());
  EXPECT_EQ(status, kNotInTime);

  refresher->onReport = nullptr;
  EXPECT_TRUE(attemptAndRefreshWithoutTime().isSuccess());
  EXPECT_THAT(refresher->reports(), ElementsAre("a0/r0 -> a1/r1", "a1/r1 -> a2/r2"));
}

TEST_F(OAuth2CredentialReport, WaitingThreadRefreshesWhenItHasEnded) {
  std::future<Status> waiting;
  std::promise<void> attemptMade;
  refresher->onReport = [&](const std::string& accessToken) {
    if (accessToken != "a1") return;
    waiting = std::async(std::launch::async, [&] {
      credential.accessTokenForAttempt();
      attemptMade.set_value();
      return credential.refreshAccessToken();
    });
    attemptMade.get_future().wait();
  };
  EXPECT_TRUE(attemptAndRefresh().isSuccess());
  EXPECT_TRUE(waiting.get().isSuccess());
  EXPECT_THAT(refresher->reports(), ElementsAre("a0/r0 -> a1/r1", "a1/r1 -> a2/r2"));
}

TEST_F(OAuth2CredentialReport, ReportingThreadMayRefreshAgain) {
  std::vector<std::string> ends;
  refresher->onReport = [&](const std::string& accessToken) {
    if (accessToken != "a3") {
      EXPECT_TRUE(attemptAndRefresh().isSuccess());
    }
    ends.push_back(accessToken);
  };
  EXPECT_TRUE(attemptAndRefresh().isSuccess());
  EXPECT_EQ(credential.accessToken(), "a3");
  EXPECT_THAT(refresher->reports(),
              ElementsAre("a0/r0 -> a1/r1", "a1/r1 -> a2/r2", "a2/r2 -> a3/r3"));
  EXPECT_THAT(ends, ElementsAre("a3", "a2", "a1"));
}

TEST_F(OAuth2CredentialReport, EndOfANestedOneDoesNotEndTheOuterOne) {
  refresher->onReport = [&](const std::string& accessToken) {
    if (accessToken != "a1") return;
    EXPECT_TRUE(attemptAndRefresh().isSuccess());
    EXPECT_EQ(attemptAndRefreshWithoutTime().toString(), kNotInTime);
  };
  EXPECT_TRUE(attemptAndRefresh().isSuccess());
  EXPECT_TRUE(attemptAndRefreshWithoutTime().isSuccess());
  EXPECT_EQ(refresher->refreshes(), 3U);
}

TEST_F(OAuth2CredentialReport, OtherCredentialsDoNotWaitForIt) {
  const auto otherRefresher = std::make_shared<ReportingRefresher>();
  OAuth2Credential other;
  other.setTokenRefresher(otherRefresher);
  other.setTokens("a0", "r0");
  refresher->onReport = [&](const std::string&) {
    EXPECT_TRUE(std::async(std::launch::async, [&] { return other.refreshAccessToken(); })
                    .get()
                    .isSuccess());
  };
  EXPECT_TRUE(attemptAndRefresh().isSuccess());
  EXPECT_THAT(otherRefresher->reports(), SizeIs(1));
}

// Each thread refreshes the latest token that it has seen, and the host's function uses the
// credential.
TEST_F(OAuth2CredentialReport, SixteenThreadsAreReportedOneByOneAndInOrder) {
  std::atomic<int> running{0};
  std::atomic<bool> areMixed{false};
  std::string last = "a0/r0";  // only one report runs at a time
  refresher->onReport = [&](const std::string&) {
    if (++running != 1) areMixed = true;
    last = credential.accessToken() + '/' + credential.refreshToken();
    credential.accessTokenForAttempt();
    --running;
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 16; ++i) {
    threads.emplace_back([this] {
      for (int round = 0; round < 20; ++round) EXPECT_TRUE(attemptAndRefresh().isSuccess());
    });
  }
  for (auto& thread : threads) thread.join();

  EXPECT_FALSE(areMixed);
  std::vector<std::string> expected;
  for (std::size_t i = 1; i <= refresher->refreshes(); ++i) {
    const auto former = std::to_string(i - 1);
    const auto renewed = std::to_string(i);
    expected.push_back("a" + former + "/r" + former + " -> a" + renewed + "/r" + renewed);
  }
  EXPECT_EQ(refresher->reports(), expected);
  EXPECT_EQ(last, "a" + std::to_string(expected.size()) + "/r" + std::to_string(expected.size()));
}

// The sanitizer for threads does not run tests of this name.
using OAuth2CredentialReportCancellation = OAuth2CredentialReport;

TEST_F(OAuth2CredentialReportCancellation, ThreadThatIsCancelledInItLeavesTheCredentialUsable) {
  refresher->onReport = [](const std::string& accessToken) {
    if (accessToken != "a1") return;
    pthread_cancel(pthread_self());
    pthread_testcancel();
    ADD_FAILURE() << "the thread has not ended";
  };
  std::thread([this] { attemptAndRefresh(); }).join();
  EXPECT_EQ(credential.accessToken(), "a1");
  EXPECT_TRUE(attemptAndRefreshWithoutTime().isSuccess());
  EXPECT_EQ(credential.accessToken(), "a2");
}

}  // namespace
