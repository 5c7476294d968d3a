#pragma once

#include <cstdint>

namespace CloudStorage::Client {

/// The kind of failure that ended a call, across all services. The numbers cross the C interface as
/// result codes and are part of the binary interface: never renumber or reuse one, and keep 0
/// (success), 1 and 259 (on which retry strategies depend) as they are. `docs/error-codes.md` lists
/// them for hosts.
enum class CoreErrors : std::uint32_t {
  /// A failure on the client side: a request that cannot be built, or a response that cannot be
  /// parsed. A retry cannot help.
  LocalFailure = 1,
  /// The service was not reached or the connection broke.
  NetworkFailure = 2,
  Timeout = 3,
  /// The service's certificate is not trusted or does not match the host.
  Untrusted = 4,

  /// The service rejected the request for a reason that has no number of its own.
  Rejected = 5,
  InvalidRequest = 6,
  NotImplemented = 7,
  PreconditionFailed = 8,
  Conflict = 9,
  Redirected = 10,

  NotAuthenticated = 11,
  UnknownAccessKey = 12,
  SignatureMismatch = 13,
  ClockSkew = 14,
  AccessDenied = 15,
  AccountProblem = 16,
  /// The request was signed for, or sent to, a region other than the bucket's.
  WrongRegion = 17,

  NotFound = 18,
  /// A bucket or container does not exist.
  BucketNotFound = 19,
  /// The name of a bucket or container is taken by another account.
  BucketAlreadyExists = 20,
  /// The caller's own bucket or container exists already.
  BucketAlreadyOwned = 21,
  InvalidBucketName = 22,
  TooManyBuckets = 23,
  InvalidLocation = 24,
  QuotaExceeded = 25,

  Throttled = 26,
  /// An internal failure of the service (5xx).
  ServiceFailure = 27,

  /// The host cancelled the call.
  Cancelled = 28,
  /// The deadline that the host set has passed.
  DeadlineExceeded = 29,

  /// Any failure of Google Drive and Amazon Drive, and of the network on the way to them. The
  /// error's retryable flag states whether the failure may be temporary.
  TemporaryFailure = 259,
};

}  // namespace CloudStorage::Client
