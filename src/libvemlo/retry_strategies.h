#pragma once

#include <memory>
#include <utility>

#include "CloudStorage/Auth/OAuth2Credential.h"
#include "CloudStorage/Client/RetryStrategy.h"

namespace libvemlo {

// What the six retry strategies have in common: at most three retries, each after a longer wait.
class SessionRetryStrategy : public CloudStorage::Client::RetryStrategy {
 public:
  // `credential` is the one that the session's client uses; the object stores have none.
  explicit SessionRetryStrategy(std::shared_ptr<CloudStorage::Auth::OAuth2Credential> credential)
      : credential_(std::move(credential)) {}

  long getDelayBeforeNextRetry(
      const CloudStorage::Client::WSError<CloudStorage::Client::CoreErrors>& error,
      unsigned long attemptedRetries) const override;

 protected:
  static bool retriesAreUsedUp(unsigned long attemptedRetries);
  // The service failed, or said where else to go.
  static bool isServerErrorOrLocatedRedirect(const CloudStorage::Client::Error& error);
  // The access token is no longer accepted.
  static bool isUnauthorized(const CloudStorage::Client::Error& error);
  // Gets a new access token. True, even if that failed, unless there is no credential: the retry
  // then reports why the account is out of reach.
  bool refreshCredential() const;

 private:
  std::shared_ptr<CloudStorage::Auth::OAuth2Credential> credential_;
};

}  // namespace libvemlo

// One strategy a service; see each shouldRetry() for what it retries.

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
