// Refreshes of tokens whose call the host ends, and calls that wait for another thread's refresh.

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include "Client/CallControl.h"
#include "CloudStorage/Auth/OAuth2Credential.h"
#include "Util/CancelEvent.h"

namespace {

using namespace std::chrono_literals;
using CloudStorage::Auth::OAuth2Credential;
using CloudStorage::Auth::TokenRefresher;
using CloudStorage::Client::CallControl;
using CloudStorage::Util::CancelEvent;
using CloudStorage::Util::Status;

/// Refreshes as `next` says.
class ScriptedRefresher : public TokenRefresher {
 public:
  Status refresh(Tokens& tokens) override {
    const int number = ++count;
    const Status status = next(number);
    if (status.isSuccess()) tokens.accessToken = "token " + std::to_string(number);
    return status;
  }

  std::atomic<int> count{0};
  std::function<Status(int)> next;
};

/// The calling thread's calls depend on `event` while the object exists.
class Controlled {
 public:
  explicit Controlled(std::shared_ptr<const CancelEvent> event) {
    CallControl::ofThread().cancelEvent = std::move(event);
  }
  ~Controlled() { CallControl::ofThread() = {}; }
  Controlled(const Controlled&) = delete;
  Controlled& operator=(const Controlled&) = delete;
};

class OAuth2InterruptedRefresh : public testing::Test {
 protected:
  OAuth2InterruptedRefresh() {
    credential.setTokens("expired", "refresh");
    credential.setTokenRefresher(refresher);
  }

  const std::shared_ptr<ScriptedRefresher> refresher = std::make_shared<ScriptedRefresher>();
  const std::shared_ptr<const CancelEvent> event = std::make_shared<const CancelEvent>();
  OAuth2Credential credential;
};

TEST_F(OAuth2InterruptedRefresh, WaitingThreadRefreshesAfterACancelledRefresh) {
  std::promise<void> begun;
  std::promise<void> waiterMayBegin;
  refresher->next = [&](int number) -> Status {
    if (number > 1) return {};
    begun.set_value();
    while (!event->isTriggered()) std::this_thread::yield();
    return {-1, "CallCancelled: The host cancelled the call"};
  };
  auto first = std::async(std::launch::async, [&] {
    const Controlled controlled(event);
    credential.accessTokenForAttempt();
    return credential.refreshAccessToken().isSuccess();
  });
  begun.get_future().wait();
  auto second = std::async(std::launch::async, [&] {
    credential.accessTokenForAttempt();
    waiterMayBegin.set_value();
    return credential.refreshAccessToken().isSuccess();
  });
  waiterMayBegin.get_future().wait();
  event->trigger();
  EXPECT_FALSE(first.get());
  EXPECT_TRUE(second.get());
  EXPECT_EQ(credential.accessToken(), "token 2");
}

/// A refresh of another thread that lasts until the object ends.
class LongRefresh {
 public:
  LongRefresh(ScriptedRefresher& refresher, OAuth2Credential& credential) {
    refresher.next = [this](int) -> Status {
      begun_.set_value();
      mayEnd_.get_future().wait();
      return {};
    };
    thread_ = std::thread([&credential] { credential.refreshAccessToken(); });
    begun_.get_future().wait();
  }
  ~LongRefresh() {
    mayEnd_.set_value();
    thread_.join();
  }
  LongRefresh(const LongRefresh&) = delete;
  LongRefresh& operator=(const LongRefresh&) = delete;

 private:
  std::promise<void> begun_;
  std::promise<void> mayEnd_;
  std::thread thread_;
};

// If the wait did not end, the test would not, because the refresh ends after it.
TEST_F(OAuth2InterruptedRefresh, WaitEndsWhenTheWaitingCallIsCancelled) {
  const LongRefresh running(*refresher, credential);
  const Controlled controlled(event);
  std::thread trigger([&] { event->trigger(); });
  EXPECT_FALSE(credential.refreshAccessToken().isSuccess());
  trigger.join();
  EXPECT_EQ(refresher->count, 1);
}

TEST_F(OAuth2InterruptedRefresh, WaitEndsAtTheDeadlineOfTheWaitingCall) {
  const LongRefresh running(*refresher, credential);
  const Controlled controlled(nullptr);
  CallControl::ofThread().deadline = std::chrono::steady_clock::now() + 30ms;
  EXPECT_FALSE(credential.refreshAccessToken().isSuccess());
  EXPECT_EQ(refresher->count, 1);
}

}  // namespace
