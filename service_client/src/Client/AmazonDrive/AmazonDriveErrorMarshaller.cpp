#include "CloudStorage/Client/AmazonDrive/AmazonDriveErrorMarshaller.h"

#include "Client/ErrorMarshalling.h"
#include "Util/Json.h"

namespace CloudStorage::Client::AmazonDrive {
namespace {

/// All of one type, the only one of which the service's retry strategy looks at the retryable flag.
/// The service asks to repeat after 429 and 503, which it answers before any work is done.
constexpr ErrorRow kRows[] = {
    {429, "", CoreErrors::TemporaryFailure, Resend::Always},
    {500, "", CoreErrors::TemporaryFailure, Resend::Reads},
    {502, "", CoreErrors::TemporaryFailure, Resend::Reads},
    {503, "", CoreErrors::TemporaryFailure, Resend::Always},
    {504, "", CoreErrors::TemporaryFailure, Resend::Reads},
    {kAnyStatus, "", CoreErrors::TemporaryFailure, Resend::Never},
};

/// The address that tells the account's profile answers in the form of OAuth2 errors.
ServiceMessage readMessage(const Http::Response& response) {
  const auto texts =
      Util::Json::texts(response.body, {"code", "error", "message", "error_description"});
  ServiceMessage said{texts[0], texts[2]};
  if (said.code.empty()) said.code = texts[1];
  if (said.message.empty()) said.message = texts[3];
  return said;
}

}  // namespace

Error AmazonDriveErrorMarshaller::marshall(const Http::Response& response,
                                           Http::Method method) const {
  if (response.failure) return temporaryTransportError(*response.failure, method);
  return answerError(response, method, readMessage(response), kRows);
}

}  // namespace CloudStorage::Client::AmazonDrive
