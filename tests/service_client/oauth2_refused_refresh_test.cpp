#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <functional>

#include "support/credential_fixture.h"

namespace {

using CloudStorage::Auth::TokenRefresher;
using CloudStorage::Util::Status;
using TestSupport::runInOtherThread;

/// A service that refuses every refresh token, and a clock.
class OAuth2RefusedRefresh : public TestSupport::CredentialFixture {
 protected:
  OAuth2RefusedRefresh() {
    credential.setTokenRefresher(refresher, [this] { return now; });
    refuseWith(400);
  }

  void refuseWith(int code) {
    refresher->onRefresh = [code](TokenRefresher::Tokens&) {
      return Status(code, "refused with " + std::to_string(code));
    };
  }

  // The steps of a call whose token is refused.
  Status attemptAndRefresh() {
    credential.accessTokenForAttempt();
    return credential.refreshAccessToken();
  }

  std::chrono::system_clock::time_point now =
      std::chrono::system_clock::from_time_t(1709195415);  // 2024-02-29 08:30:15 UTC
};

TEST_F(OAuth2RefusedRefresh, IsNotRepeatedForFiveSeconds) {
  for (const int seconds : {0, 1, 3}) {  // 4 in all
    now += std::chrono::seconds(seconds);
    const auto status = attemptAndRefresh();
    EXPECT_EQ(status.getCode(), 400);
    EXPECT_EQ(status.toString(), "refused with 400");
  }
  now += std::chrono::milliseconds(999);
  EXPECT_EQ(attemptAndRefresh().getCode(), 400);
  EXPECT_EQ(refresher->refreshTokens().size(), 1U);

  now += std::chrono::milliseconds(1);
  EXPECT_EQ(attemptAndRefresh().getCode(), 400);
  EXPECT_EQ(refresher->refreshTokens().size(), 2U);
  now += std::chrono::seconds(4);
  EXPECT_EQ(attemptAndRefresh().getCode(), 400);
  EXPECT_EQ(refresher->refreshTokens().size(), 2U) << "the second refusal has a time of its own";
}

TEST_F(OAuth2RefusedRefresh, IsRememberedForOtherThreads) {
  EXPECT_EQ(attemptAndRefresh().getCode(), 400);
  runInOtherThread([this] { EXPECT_EQ(attemptAndRefresh().getCode(), 400); });
  EXPECT_EQ(refresher->refreshTokens().size(), 1U);
}

TEST_F(OAuth2RefusedRefresh, OnlyRefusalsAreRemembered) {
  std::size_t refreshes = 0;
  for (const int code : {-1, 403, 404, 429, 500, 502, 503, 200}) {
    SCOPED_TRACE(code);
    refuseWith(code);
    EXPECT_EQ(attemptAndRefresh().getCode(), code);
    EXPECT_EQ(refresher->refreshTokens().size(), ++refreshes);
  }
  refuseWith(401);
  EXPECT_EQ(attemptAndRefresh().getCode(), 401);
  EXPECT_EQ(attemptAndRefresh().getCode(), 401);
  EXPECT_EQ(refresher->refreshTokens().size(), ++refreshes);
}

TEST_F(OAuth2RefusedRefresh, IsForgottenWhenTokensAreSet) {
  const std::function<void()> changes[] = {
      [this] { credential.setAccessToken("other"); },
      [this] { credential.setRefreshToken("other refresh"); },
      [this] { credential.setTokens("third", "third refresh"); },
  };
  EXPECT_FALSE(attemptAndRefresh().isSuccess());
  std::size_t refreshes = 1;
  for (const auto& change : changes) {
    change();
    EXPECT_FALSE(attemptAndRefresh().isSuccess());
    EXPECT_EQ(refresher->refreshTokens().size(), ++refreshes);
  }
}

TEST_F(OAuth2RefusedRefresh, IsForgottenWhenTheClockIsSetBack) {
  EXPECT_FALSE(attemptAndRefresh().isSuccess());
  now -= std::chrono::hours(1);
  refresher->onRefresh = nullptr;
  EXPECT_TRUE(attemptAndRefresh().isSuccess());
}

TEST_F(OAuth2RefusedRefresh, IsReplacedByALaterFailure) {
  const auto begin = now;
  EXPECT_EQ(attemptAndRefresh().getCode(), 400);
  now += std::chrono::seconds(5);
  refuseWith(503);
  EXPECT_EQ(attemptAndRefresh().getCode(), 503);
  now = begin;
  EXPECT_EQ(attemptAndRefresh().getCode(), 503);
  EXPECT_EQ(refresher->refreshTokens().size(), 3U);
}

TEST_F(OAuth2RefusedRefresh, RealClockIsTheDefault) {
  credential.setTokenRefresher(refresher);
  EXPECT_EQ(attemptAndRefresh().getCode(), 400);
  EXPECT_EQ(refresher->refreshTokens().size(), 1U);
}

}  // namespace
