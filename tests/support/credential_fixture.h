#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "CloudStorage/Auth/OAuth2Credential.h"

namespace TestSupport {

/// Returns "new-1", "new-2" and so on, or calls `onRefresh`.
class FakeRefresher : public CloudStorage::Auth::TokenRefresher {
 public:
  CloudStorage::Util::Status refresh(Tokens& tokens) override {
    std::size_t number = 0;
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      refreshTokens_.push_back(tokens.refreshToken);
      number = refreshTokens_.size();
    }
    if (onRefresh) return onRefresh(tokens);
    tokens.accessToken = "new-" + std::to_string(number);
    return {};
  }

  std::vector<std::string> refreshTokens() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return refreshTokens_;
  }

  std::function<CloudStorage::Util::Status(Tokens&)> onRefresh;

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> refreshTokens_;
};

/// A credential with the tokens "old" and "refresh".
class CredentialFixture : public ::testing::Test {
 protected:
  CredentialFixture() {
    credential.setTokenRefresher(refresher);
    credential.setTokens("old", "refresh");
  }

  std::shared_ptr<FakeRefresher> refresher = std::make_shared<FakeRefresher>();
  CloudStorage::Auth::OAuth2Credential credential;
};

inline void runInOtherThread(const std::function<void()>& task) { std::thread(task).join(); }

}  // namespace TestSupport
