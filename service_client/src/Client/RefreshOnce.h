#pragma once

#include <memory>
#include <utility>

#include "CloudStorage/Auth/OAuth2Credential.h"
#include "CloudStorage/Client/RetryStrategy.h"

namespace CloudStorage::Client {

/// Retries a request once and at once, if its access token was not accepted and has been renewed.
class RefreshOnce final : public RetryStrategy {
 public:
  explicit RefreshOnce(std::shared_ptr<Auth::OAuth2Credential> credential)
      : credential_(std::move(credential)) {}

  bool shouldRetry(const Error& error, unsigned long attemptedRetries) const override {
    constexpr int kUnauthorized = 401;
    // Dropbox refuses with 401 also what the scopes of a valid token do not allow.
    const bool isTokenAccepted = error.errorType == CoreErrors::AccessDenied;
    return attemptedRetries == 0 && error.httpResponseCode == kUnauthorized && !isTokenAccepted &&
           credential_->refreshAccessToken().isSuccess();
  }

  long getDelayBeforeNextRetry(const Error& /*error*/,
                               unsigned long /*attemptedRetries*/) const override {
    return 0;
  }

 private:
  std::shared_ptr<Auth::OAuth2Credential> credential_;
};

}  // namespace CloudStorage::Client
