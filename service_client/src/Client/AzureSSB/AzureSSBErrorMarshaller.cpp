#include "CloudStorage/Client/AzureSSB/AzureSSBErrorMarshaller.h"

#include <algorithm>

#include "Client/ErrorMarshalling.h"

namespace CloudStorage::Client::AzureSSB {
namespace {

/// The code is in this header even where the body is empty.
constexpr char kErrorCodeHeader[] = "x-ms-error-code";

constexpr ErrorRow kRows[] = {
    {kAnyStatus, "InvalidResourceName", CoreErrors::InvalidBucketName, Resend::Never},
    // A name that is too short or too long, the only value of ours that has a range.
    {kAnyStatus, "OutOfRangeInput", CoreErrors::InvalidBucketName, Resend::Never},
    {kAnyStatus, "ContainerNotFound", CoreErrors::BucketNotFound, Resend::Never},
    // Container names are unique within the account, so the one in the way is the caller's own.
    {kAnyStatus, "ContainerAlreadyExists", CoreErrors::BucketAlreadyOwned, Resend::Never},
    {kAnyStatus, "ContainerBeingDeleted", CoreErrors::Conflict, Resend::Never},
    {kAnyStatus, "BlobNotFound", CoreErrors::NotFound, Resend::Never},
    {kAnyStatus, "ResourceNotFound", CoreErrors::NotFound, Resend::Never},
    {kAnyStatus, "BlobImmutableDueToPolicy", CoreErrors::AccessDenied, Resend::Never},
    {kAnyStatus, "ConditionNotMet", CoreErrors::PreconditionFailed, Resend::Never},
    {kAnyStatus, "LeaseIdMissing", CoreErrors::PreconditionFailed, Resend::Never},

    {kAnyStatus, "NoAuthenticationInformation", CoreErrors::NotAuthenticated, Resend::Never},
    {kAnyStatus, "InvalidAuthenticationInfo", CoreErrors::NotAuthenticated, Resend::Never},
    // Said of a wrong key and of a wrong clock alike.
    {kAnyStatus, "AuthenticationFailed", CoreErrors::SignatureMismatch, Resend::Never},
    {kAnyStatus, "AuthorizationFailure", CoreErrors::AccessDenied, Resend::Never},
    {kAnyStatus, "KeyBasedAuthenticationNotPermitted", CoreErrors::AccessDenied, Resend::Never},
    {kAnyStatus, "InsufficientAccountPermissions", CoreErrors::AccessDenied, Resend::Never},
    {kAnyStatus, "AccountIsDisabled", CoreErrors::AccountProblem, Resend::Never},
    {kAnyStatus, "AccountBeingCreated", CoreErrors::AccountProblem, Resend::Never},

    {kAnyStatus, "AccountRequiresHttps", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "InvalidUri", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "InvalidHeaderValue", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "MissingRequiredHeader", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "MissingContentLengthHeader", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "InvalidQueryParameterValue", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "OutOfRangeQueryParameterValue", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "InvalidXmlDocument", CoreErrors::InvalidRequest, Resend::Never},
    {kAnyStatus, "UnsupportedHttpVerb", CoreErrors::InvalidRequest, Resend::Never},

    {kAnyStatus, "ServerBusy", CoreErrors::Throttled, Resend::Always},
    {kAnyStatus, "OperationTimedOut", CoreErrors::Timeout, Resend::Always},
    {kAnyStatus, "InternalError", CoreErrors::ServiceFailure, Resend::Always},
};

/// The lines after the first of a message repeat the request's id and time.
ServiceMessage readMessage(const Http::Response& response) {
  ServiceMessage said = readXmlError(response.body);
  said.message.erase(std::min(said.message.find('\n'), said.message.size()));
  const auto header = response.headers.find(kErrorCodeHeader);
  if (header != response.headers.end() && !header->second.empty()) said.code = header->second;
  return said;
}

}  // namespace

Error AzureSSBErrorMarshaller::marshall(const Http::Response& response, Http::Method method) const {
  if (response.failure) return transportError(*response.failure);
  return answerError(response, method, readMessage(response), kRows);
}

}  // namespace CloudStorage::Client::AzureSSB
