#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "CloudStorage/Auth/OAuth2Credential.h"
#include "support/credential_fixture.h"

namespace {

using CloudStorage::Auth::OAuth2Credential;
using CloudStorage::Auth::TokenRefresher;
using CloudStorage::Util::Status;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using TestSupport::FakeRefresher;
using TestSupport::runInOtherThread;

/// Blocks threads until all of them have arrived.
class Barrier {
 public:
  explicit Barrier(int expected) : missing_(expected) {}

  void arriveAndWait() {
    std::unique_lock<std::mutex> lock(mutex_);
    if (--missing_ == 0) allHere_.notify_all();
    allHere_.wait(lock, [this] { return missing_ == 0; });
  }

 private:
  std::mutex mutex_;
  std::condition_variable allHere_;
  int missing_;
};

using OAuth2CredentialTest = TestSupport::CredentialFixture;
using OAuth2CredentialConcurrency = OAuth2CredentialTest;

/// All threads make an attempt before any of them refreshes.
std::vector<Status> refreshAtOnce(OAuth2Credential& credential, int threadCount) {
  Barrier attemptsMade(threadCount);
  std::vector<Status> statuses(static_cast<std::size_t>(threadCount));
  std::vector<std::thread> threads;
  threads.reserve(statuses.size());
  for (auto& status : statuses) {
    threads.emplace_back([&credential, &attemptsMade, &status] {
      credential.accessTokenForAttempt();
      attemptsMade.arriveAndWait();
      status = credential.refreshAccessToken();
    });
  }
  for (auto& thread : threads) thread.join();
  return statuses;
}

TEST(OAuth2Credential, IsEmptyUntilEitherTokenIsSet) {
  OAuth2Credential withAccessToken;
  EXPECT_TRUE(withAccessToken.isEmpty());
  withAccessToken.setAccessToken("access");
  EXPECT_FALSE(withAccessToken.isEmpty());

  OAuth2Credential withRefreshToken;
  withRefreshToken.setRefreshToken("refresh");
  EXPECT_FALSE(withRefreshToken.isEmpty());
}

TEST(OAuth2Credential, ReturnsWhatWasSet) {
  OAuth2Credential credential;
  credential.setTokens("access", "refresh");
  EXPECT_EQ(credential.accessToken(), "access");
  EXPECT_EQ(credential.refreshToken(), "refresh");

  credential.setAccessToken("other");
  EXPECT_EQ(credential.accessTokenForAttempt(), "other");
  EXPECT_EQ(credential.refreshToken(), "refresh");

  credential.setRefreshToken("another");
  EXPECT_EQ(credential.accessToken(), "other");
  EXPECT_EQ(credential.refreshToken(), "another");
}

TEST(OAuth2Credential, WithoutARefresherRefreshFails) {
  OAuth2Credential credential;
  credential.setTokens("old", "refresh");
  EXPECT_FALSE(credential.refreshAccessToken().isSuccess());
  EXPECT_EQ(credential.accessToken(), "old");
}

TEST_F(OAuth2CredentialTest, RefreshReplacesTheAccessTokenAndKeepsTheRefreshToken) {
  EXPECT_EQ(credential.accessTokenForAttempt(), "old");
  EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  EXPECT_THAT(refresher->refreshTokens(), ElementsAre("refresh"));
  EXPECT_EQ(credential.accessTokenForAttempt(), "new-1");
  EXPECT_EQ(credential.refreshToken(), "refresh");
}

TEST_F(OAuth2CredentialTest, RefreshStoresARotatedRefreshToken) {
  refresher->onRefresh = [](TokenRefresher::Tokens& tokens) {
    tokens = {"new", "rotated"};
    return Status();
  };
  EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  EXPECT_EQ(credential.accessToken(), "new");
  EXPECT_EQ(credential.refreshToken(), "rotated");
}

TEST_F(OAuth2CredentialTest, WorksWithARefreshTokenAlone) {
  credential.setTokens("", "refresh");
  EXPECT_EQ(credential.accessTokenForAttempt(), "");
  EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  EXPECT_EQ(credential.accessToken(), "new-1");
}

TEST_F(OAuth2CredentialTest, FailedRefreshIsReportedAndKeepsBothTokens) {
  refresher->onRefresh = [](TokenRefresher::Tokens& tokens) {
    tokens = {"must not", "be used"};
    return Status(400, "invalid_grant: revoked");
  };
  credential.accessTokenForAttempt();
  const auto status = credential.refreshAccessToken();
  EXPECT_EQ(status.getCode(), 400);
  EXPECT_EQ(status.toString(), "invalid_grant: revoked");
  EXPECT_EQ(credential.accessToken(), "old");
  EXPECT_EQ(credential.refreshToken(), "refresh");
}

TEST_F(OAuth2CredentialTest, EachFailedAttemptRefreshesAgainAfterAFailure) {
  refresher->onRefresh = [](TokenRefresher::Tokens&) { return Status(503, "HTTP 503"); };
  credential.accessTokenForAttempt();
  EXPECT_FALSE(credential.refreshAccessToken().isSuccess());

  refresher->onRefresh = nullptr;
  credential.accessTokenForAttempt();
  EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  EXPECT_EQ(credential.accessToken(), "new-2");
}

TEST(OAuth2Credential, RequestsCarryTheServicesPartOfTheToken) {
  class Halves : public FakeRefresher {
   public:
    std::string bearerOf(const std::string& accessToken) const override {
      return accessToken.substr(0, accessToken.size() / 2);
    }
  };
  OAuth2Credential credential;
  credential.setAccessToken("abcd");
  EXPECT_EQ(credential.accessTokenForAttempt(), "abcd");
  credential.setTokenRefresher(std::make_shared<Halves>());
  EXPECT_EQ(credential.accessTokenForAttempt(), "ab");
  EXPECT_EQ(credential.accessToken(), "abcd");
}

TEST_F(OAuth2CredentialTest, ThreadWithoutAnAttemptAlwaysRefreshes) {
  runInOtherThread([this] {
    EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
    EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  });
  EXPECT_EQ(refresher->refreshTokens().size(), 2U);
  EXPECT_EQ(credential.accessToken(), "new-2");
}

TEST_F(OAuth2CredentialTest, AttemptWithAnOlderTokenUsesTheNewOne) {
  credential.accessTokenForAttempt();
  runInOtherThread([this] { EXPECT_TRUE(credential.refreshAccessToken().isSuccess()); });
  EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  EXPECT_EQ(refresher->refreshTokens().size(), 1U);
  EXPECT_EQ(credential.accessToken(), "new-1");
}

TEST_F(OAuth2CredentialTest, AttemptWithTheNewTokenRefreshesAgain) {
  credential.accessTokenForAttempt();
  EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  EXPECT_EQ(credential.accessTokenForAttempt(), "new-1");
  EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  EXPECT_EQ(credential.accessToken(), "new-2");
}

TEST_F(OAuth2CredentialTest, TokenSetSinceTheAttemptIsUsedFirst) {
  credential.accessTokenForAttempt();
  credential.setTokens("set", "with it");
  EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  EXPECT_THAT(refresher->refreshTokens(), IsEmpty());
  EXPECT_EQ(credential.accessToken(), "set");
}

TEST_F(OAuth2CredentialTest, NewTokenHasPrecedenceOverALaterFailure) {
  credential.accessTokenForAttempt();
  runInOtherThread([this] {
    EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
    refresher->onRefresh = [](TokenRefresher::Tokens&) { return Status(503, "HTTP 503"); };
    EXPECT_FALSE(credential.refreshAccessToken().isSuccess());
  });
  EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  EXPECT_EQ(refresher->refreshTokens().size(), 2U);
}

TEST_F(OAuth2CredentialTest, TokensSetDuringARefreshAreKept) {
  refresher->onRefresh = [this](TokenRefresher::Tokens& tokens) {
    credential.setTokens("set", "set, too");
    tokens = {"late", "late, too"};
    return Status();
  };
  EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  EXPECT_EQ(credential.accessToken(), "set");
  EXPECT_EQ(credential.refreshToken(), "set, too");
}

TEST_F(OAuth2CredentialTest, FailureIsIgnoredIfTokensWereSetDuringTheRefresh) {
  refresher->onRefresh = [this](TokenRefresher::Tokens&) {
    credential.setTokens("set", "set, too");
    return Status(400, "invalid_grant");
  };
  EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  EXPECT_EQ(credential.accessToken(), "set");
}

TEST_F(OAuth2CredentialTest, TokensAreReadableDuringARefresh) {
  std::string seen;
  refresher->onRefresh = [this, &seen](TokenRefresher::Tokens& tokens) {
    runInOtherThread([this, &seen] { seen = credential.accessTokenForAttempt(); });
    tokens.accessToken = "new";
    return Status();
  };
  EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  EXPECT_EQ(seen, "old");
}

TEST_F(OAuth2CredentialTest, OneThreadUsesTwoCredentialsInTurn) {
  OAuth2Credential other;
  const auto otherRefresher = std::make_shared<FakeRefresher>();
  other.setTokenRefresher(otherRefresher);
  other.setTokens("other old", "other refresh");

  for (int round = 0; round < 3; ++round) {
    credential.accessTokenForAttempt();
    EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
    other.accessTokenForAttempt();
    EXPECT_TRUE(other.refreshAccessToken().isSuccess());
  }
  EXPECT_EQ(credential.accessToken(), "new-3");
  EXPECT_EQ(other.accessToken(), "new-3");
}

TEST_F(OAuth2CredentialTest, AttemptWithAnotherCredentialDoesNotCount) {
  OAuth2Credential other;
  credential.accessTokenForAttempt();
  credential.setAccessToken("expired as well");
  other.accessTokenForAttempt();
  EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  EXPECT_THAT(refresher->refreshTokens(), ElementsAre("refresh"));
}

TEST(OAuth2Credential, AttemptWithADestroyedCredentialDoesNotCount) {
  const auto refresher = std::make_shared<FakeRefresher>();
  std::optional<OAuth2Credential> credential(std::in_place);  // always at the same address
  credential->setTokens("first", "refresh");
  credential->accessTokenForAttempt();

  credential.emplace();
  credential->setTokenRefresher(refresher);
  credential->setTokens("second", "refresh");
  credential->setTokens("third", "refresh");
  EXPECT_TRUE(credential->refreshAccessToken().isSuccess());
  EXPECT_EQ(refresher->refreshTokens().size(), 1U);
  EXPECT_EQ(credential->accessToken(), "new-1");
}

TEST_F(OAuth2CredentialConcurrency, ThreadsWithTheSameTokenShareOneRequest) {
  for (const auto& status : refreshAtOnce(credential, 16)) EXPECT_TRUE(status.isSuccess());
  EXPECT_EQ(refresher->refreshTokens().size(), 1U);
  EXPECT_EQ(credential.accessToken(), "new-1");
}

TEST_F(OAuth2CredentialConcurrency, ThreadsWithTheSameTokenShareOneFailure) {
  refresher->onRefresh = [](TokenRefresher::Tokens&) { return Status(400, "invalid_grant"); };
  for (const auto& status : refreshAtOnce(credential, 16)) {
    EXPECT_EQ(status.getCode(), 400);
    EXPECT_EQ(status.toString(), "invalid_grant");
  }
  EXPECT_EQ(refresher->refreshTokens().size(), 1U);
}

TEST_F(OAuth2CredentialConcurrency, NoReaderSeesATornToken) {
  credential.setTokens("0", "0");
  std::atomic<bool> stop{false};
  refresher->onRefresh = [](TokenRefresher::Tokens& tokens) {
    tokens = {"refreshed", "refreshed"};
    return Status();
  };
  std::thread reader([this, &stop] {
    while (!stop) {
      const auto token = credential.accessTokenForAttempt();
      EXPECT_TRUE(token == "refreshed" || token.find_first_not_of(token[0]) == std::string::npos);
      EXPECT_FALSE(credential.isEmpty());
    }
  });
  for (std::size_t length = 1; length <= 200; ++length) {
    credential.setTokens(std::string(length, 'x'), std::string(length, 'y'));
    EXPECT_TRUE(credential.refreshAccessToken().isSuccess());
  }
  stop = true;
  reader.join();
  EXPECT_EQ(credential.refreshToken(), "refreshed");
}

}  // namespace
