#include "libvemlo/retry_strategies.h"

#include "libvemlo/exception_barrier.h"
#include "libvemlo/log_line.h"

using CloudStorage::Client::CoreErrors;
using CloudStorage::Client::WSError;

namespace libvemlo {

long SessionRetryStrategy::getDelayBeforeNextRetry(const WSError<CoreErrors>& /*error*/,
                                                   unsigned long attemptedRetries) const {
  constexpr long kStepMilliseconds = 1000;
  return (static_cast<long>(attemptedRetries) + 1) * kStepMilliseconds;
}

bool SessionRetryStrategy::retriesAreUsedUp(unsigned long attemptedRetries) {
  constexpr unsigned long kMaxRetries = 3;
  return attemptedRetries >= kMaxRetries;
}

bool SessionRetryStrategy::isServerErrorOrLocatedRedirect(const WSError<CoreErrors>& error) {
  const int code = error.httpResponseCode;
  if (code >= 500) return true;
  const bool isRedirect = code >= 300 && code <= 308;
  return isRedirect && error.responseHeaders.count("location") > 0;
}

bool SessionRetryStrategy::isUnauthorized(const WSError<CoreErrors>& error) {
  return error.httpResponseCode == 401;
}

bool SessionRetryStrategy::refreshCredential() const {
  if (!credential_) return false;
  const auto status = credential_->refreshAccessToken();
  if (!status.isSuccess()) {
    writeLine([&status] {
      PlainErrorLine() << "Failed to refresh OAuth2 credential. " << status.toString();
    });
  }
  return true;
}

}  // namespace libvemlo

bool S3RetryStrategy::shouldRetry(const WSError<CoreErrors>& error,
                                  unsigned long attemptedRetries) const {
  if (retriesAreUsedUp(attemptedRetries)) return false;
  return isServerErrorOrLocatedRedirect(error);
}

bool AzureSSBRetryStrategy::shouldRetry(const WSError<CoreErrors>& error,
                                        unsigned long attemptedRetries) const {
  if (retriesAreUsedUp(attemptedRetries)) return false;
  if (error.errorType == CoreErrors::LocalFailure) return false;
  return isServerErrorOrLocatedRedirect(error);
}

bool AmazonDriveRetryStrategy::shouldRetry(const WSError<CoreErrors>& error,
                                           unsigned long attemptedRetries) const {
  if (retriesAreUsedUp(attemptedRetries)) return false;
  if (isUnauthorized(error)) return refreshCredential();
  return error.errorType == CoreErrors::TemporaryFailure && error.retryable;
}

bool GoogleDriveRetryStrategy::shouldRetry(const WSError<CoreErrors>& error,
                                           unsigned long attemptedRetries) const {
  if (retriesAreUsedUp(attemptedRetries)) return false;
  if (isUnauthorized(error)) return refreshCredential();
  return error.errorType == CoreErrors::TemporaryFailure && error.retryable;
}

bool OneDriveRetryStrategy::shouldRetry(const WSError<CoreErrors>& error,
                                        unsigned long attemptedRetries) const {
  if (retriesAreUsedUp(attemptedRetries)) return false;
  return isUnauthorized(error) && refreshCredential();
}

bool DropboxRetryStrategy::shouldRetry(const WSError<CoreErrors>& error,
                                       unsigned long attemptedRetries) const {
  if (retriesAreUsedUp(attemptedRetries)) return false;
  return isUnauthorized(error) && refreshCredential();
}
