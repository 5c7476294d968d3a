#include "CloudStorage/Client/S3/S3ErrorMarshaller.h"

#include "Client/ErrorMarshalling.h"
#include "Client/S3/S3Answers.h"

namespace CloudStorage::Client::S3 {
namespace {

/// Codes go before the status, as compatible stores do not always agree on it; an error may even
/// come with status 200.
constexpr ErrorRow kRows[] = {
    {kAnyStatus, "InvalidBucketName", CoreErrors::InvalidBucketName, Resend::Never},
    {kAnyStatus, "NoSuchBucket", CoreErrors::BucketNotFound, Resend::Never},
    {kAnyStatus, "BucketAlreadyExists", CoreErrors::BucketAlreadyExists, Resend::Never},
    {kAnyStatus, "BucketAlreadyOwnedByYou", CoreErrors::BucketAlreadyOwned, Resend::Never},
    {kAnyStatus, "TooManyBuckets", CoreErrors::TooManyBuckets, Resend::Never},
    {kAnyStatus, "InvalidLocationConstraint", CoreErrors::InvalidLocation, Resend::Never},
    {kAnyStatus, "QuotaExceeded", CoreErrors::QuotaExceeded, Resend::Never},
    {kAnyStatus, "NoSuchKey", CoreErrors::NotFound, Resend::Never},
    {kAnyStatus, "OperationAborted", CoreErrors::Conflict, Resend::Always},
    {kAnyStatus, "PreconditionFailed", CoreErrors::PreconditionFailed, Resend::Never},

    {kAnyStatus, "AccessDenied", CoreErrors::AccessDenied, Resend::Never},
    {kAnyStatus, "AllAccessDisabled", CoreErrors::AccessDenied, Resend::Never},
    {kAnyStatus, "MethodNotAllowed", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "InvalidAccessKeyId", CoreErrors::UnknownAccessKey, Resend::Never},
    {kAnyStatus, "SignatureDoesNotMatch", CoreErrors::SignatureMismatch, Resend::Never},
    {kAnyStatus, "RequestTimeTooSkewed", CoreErrors::ClockSkew, Resend::Never},
    {kAnyStatus, "ExpiredToken", CoreErrors::NotAuthenticated, Resend::Never},
    {kAnyStatus, "AccountProblem", CoreErrors::AccountProblem, Resend::Never},
    {kAnyStatus, "NotSignedUp", CoreErrors::AccountProblem, Resend::Never},
    {kAnyStatus, "AuthenticationLockout", CoreErrors::AccountProblem, Resend::Never},

    {kAnyStatus, "PermanentRedirect", CoreErrors::WrongRegion, Resend::Never},
    {kAnyStatus, "AuthorizationHeaderMalformed", CoreErrors::WrongRegion, Resend::Never},
    {kAnyStatus, "IllegalLocationConstraintException", CoreErrors::WrongRegion, Resend::Never},
    {kAnyStatus, "TemporaryRedirect", CoreErrors::Redirected, Resend::Never},
    {kAnyStatus, "Redirect", CoreErrors::Redirected, Resend::Never},
    {kAnyStatus, "Found", CoreErrors::Redirected, Resend::Never},

    {kAnyStatus, "InvalidArgument", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "InvalidRequest", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "InvalidURI", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "MalformedXML", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "KeyTooLongError", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "MissingContentLength", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "InvalidDigest", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "BadDigest", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "XAmzContentSHA256Mismatch", CoreErrors::InvalidRequest, Resend::Never},

    {kAnyStatus, "RequestTimeout", CoreErrors::Timeout, Resend::Always},
    {kAnyStatus, "SlowDown", CoreErrors::Throttled, Resend::Always},
    {kAnyStatus, "RequestRateLimitExceeded", CoreErrors::Throttled, Resend::Never},
    {kAnyStatus, "InternalError", CoreErrors::ServiceFailure, Resend::Always},
    {kAnyStatus, "ServiceUnavailable", CoreErrors::ServiceFailure, Resend::Always},
    {kAnyStatus, "Unavailable", CoreErrors::ServiceFailure, Resend::Always},
    {kAnyStatus, "NotImplemented", CoreErrors::NotImplemented, Resend::Always},

    {429, "", CoreErrors::Throttled, Resend::Never},
};

}  // namespace

Error s3Error(const Http::Response& response, Http::Method method, const ServiceMessage& said) {
  return answerError(response, method, said, kRows);
}

Error S3ErrorMarshaller::marshall(const Http::Response& response, Http::Method method) const {
  if (response.failure) return transportError(*response.failure);
  return s3Error(response, method, readXmlError(response.body));
}

}  // namespace CloudStorage::Client::S3
