#pragma once

#include <memory>
#include <utility>

#include "CloudStorage/Auth/OAuth2Credential.h"
#include "CloudStorage/Client/RetryStrategy.h"

namespace libvemlo {

// The common part of the six retry strategies: at most three retries, each after a longer delay.
class SessionRetryStrategy : public CloudStorage::Client::RetryStrategy {
 public:
  // `credential` is the credential of the session's client, null for the object stores.
  explicit SessionRetryStrategy(std::shared_ptr<CloudStorage::Auth::OAuth2Credential> credential)
      : credential_(std::move(credential)) {}

  long getDelayBeforeNextRetry(
      const CloudStorage::Client::WSError<CloudStorage::Client::CoreErrors>& error,
      unsigned long attemptedRetries) const override;

 protected:
  static bool retriesAreUsedUp(unsigned long attemptedRetries);
  // A status of 500 or more, or a redirect with a Location header.
  static bool isServerErrorOrLocatedRedirect(const CloudStorage::Client::Error& error);
  // A status of 401: the service no longer accepts the access token.
  static bool isUnauthorized(const CloudStorage::Client::Error& error);
  // Requests a new access token. Returns false only if there is no credential: after a failed
  // refresh, the retry returns the error that explains why the account cannot be accessed.
  bool refreshCredential() const;

 private:
  std::shared_ptr<CloudStorage::Auth::OAuth2Credential> credential_;
};

}  // namespace libvemlo

// One strategy per service. Each shouldRetry() defines what is retried.

class S3RetryStrategy : public libvemlo::SessionRetryStrategy {
 public:
  using SessionRetryStrategy::SessionRetryStrategy;
  bool shouldRetry(const CloudStorage::Client::WSError<CloudStorage::Client::CoreErrors>& error,
                   unsigned long attemptedRetries) const override;
};

class AzureSSBRetryStrategy : public libvemlo::SessionRetryStrategy {
 public:
  using SessionRetryStrategy::SessionRetryStrategy;
  bool shouldRetry(const CloudStorage::Client::WSError<CloudStorage::Client::CoreErrors>& error,
                   unsigned long attemptedRetries) const override;
};

class AmazonDriveRetryStrategy : public libvemlo::SessionRetryStrategy {
 public:
  using SessionRetryStrategy::SessionRetryStrategy;
  bool shouldRetry(const CloudStorage::Client::WSError<CloudStorage::Client::CoreErrors>& error,
                   unsigned long attemptedRetries) const override;
};

class GoogleDriveRetryStrategy : public libvemlo::SessionRetryStrategy {
 public:
  using SessionRetryStrategy::SessionRetryStrategy;
  bool shouldRetry(const CloudStorage::Client::WSError<CloudStorage::Client::CoreErrors>& error,
                   unsigned long attemptedRetries) const override;
};

class OneDriveRetryStrategy : public libvemlo::SessionRetryStrategy {
 public:
  using SessionRetryStrategy::SessionRetryStrategy;
  bool shouldRetry(const CloudStorage::Client::WSError<CloudStorage::Client::CoreErrors>& error,
                   unsigned long attemptedRetries) const override;
};

class DropboxRetryStrategy : public libvemlo::SessionRetryStrategy {
 public:
  using SessionRetryStrategy::SessionRetryStrategy;
  bool shouldRetry(const CloudStorage::Client::WSError<CloudStorage::Client::CoreErrors>& error,
                   unsigned long attemptedRetries) const override;
};
