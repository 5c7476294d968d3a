#pragma once

#include <cstdint>
#include <functional>
#include <mutex>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

#include "libvemlo_service_client.h"

namespace TestSupport {

struct RenewedTokens {
  std::int32_t service = 0;
  std::string usedRefreshToken;
  std::string accessToken;
  std::string refreshToken;
  std::int64_t lifetime = 0;

  friend bool operator==(const RenewedTokens& a, const RenewedTokens& b) {
    return std::tie(a.service, a.usedRefreshToken, a.accessToken, a.refreshToken, a.lifetime) ==
           std::tie(b.service, b.usedRefreshToken, b.accessToken, b.refreshToken, b.lifetime);
  }
};

inline void PrintTo(const RenewedTokens& tokens, std::ostream* out) {
  *out << tokens.service << ": " << tokens.usedRefreshToken << " -> " << tokens.accessToken << ", "
       << tokens.refreshToken << ", " << tokens.lifetime;
}

/// A host's callback for renewed tokens, while the object exists. Safe for concurrent calls.
class TokenRecorder {
 public:
  TokenRecorder() { vemlo_client_set_token_callback(&TokenRecorder::record, this); }
  ~TokenRecorder() { vemlo_client_set_token_callback(nullptr, nullptr); }
  TokenRecorder(const TokenRecorder&) = delete;
  TokenRecorder& operator=(const TokenRecorder&) = delete;

  std::vector<RenewedTokens> received() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return received_;
  }

  /// Called with the number of tokens received so far. To be set before the first call.
  std::function<void(std::size_t)> onTokens;

 private:
  static void record(const vemlo_client_tokens* tokens, void* user) {
    auto& self = *static_cast<TokenRecorder*>(user);
    std::size_t number = 0;
    {
      const std::lock_guard<std::mutex> lock(self.mutex_);
      if (tokens->size == sizeof *tokens) {
        self.received_.push_back({tokens->service, tokens->used_refresh_token, tokens->access_token,
                                  tokens->refresh_token, tokens->lifetime});
      }
      number = self.received_.size();
    }
    if (self.onTokens) self.onTokens(number);
  }

  mutable std::mutex mutex_;
  std::vector<RenewedTokens> received_;
};

}  // namespace TestSupport
