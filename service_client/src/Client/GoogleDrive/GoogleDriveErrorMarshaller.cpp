#include "CloudStorage/Client/GoogleDrive/GoogleDriveErrorMarshaller.h"

#include "Client/ErrorMarshalling.h"
#include "Util/Json.h"

namespace CloudStorage::Client::GoogleDrive {
namespace {

/// All of one type, the only one of which the service's retry strategy looks at the retryable flag.
/// A limit that was hit and a 503 were answered before any work was done; after other failures of
/// the service a second creation could make a second folder.
constexpr ErrorRow kRows[] = {
    {403, "rateLimitExceeded", CoreErrors::TemporaryFailure, Resend::Always},
    {403, "userRateLimitExceeded", CoreErrors::TemporaryFailure, Resend::Always},
    {429, "", CoreErrors::TemporaryFailure, Resend::Always},
    {500, "", CoreErrors::TemporaryFailure, Resend::Reads},
    {502, "", CoreErrors::TemporaryFailure, Resend::Reads},
    {503, "", CoreErrors::TemporaryFailure, Resend::Always},
    {504, "", CoreErrors::TemporaryFailure, Resend::Reads},
    {kAnyStatus, "", CoreErrors::TemporaryFailure, Resend::Never},
};

/// Newer front ends leave out the list of errors.
ServiceMessage readMessage(const Http::Response& response) {
  const auto texts =
      Util::Json::texts(response.body, {"error/errors/0/reason", "error/status", "error/message"});
  ServiceMessage said{texts[0], texts[2]};
  if (said.code.empty()) said.code = texts[1];
  if (said.code.empty()) said.code = std::to_string(response.status);
  return said;
}

}  // namespace

Error GoogleDriveErrorMarshaller::marshall(const Http::Response& response,
                                           Http::Method method) const {
  if (response.failure) return temporaryTransportError(*response.failure, method);
  return answerError(response, method, readMessage(response), kRows);
}

}  // namespace CloudStorage::Client::GoogleDrive
