#include "CloudStorage/Client/OneDrive/OneDriveErrorMarshaller.h"

#include "Client/ErrorMarshalling.h"
#include "Util/Json.h"

namespace CloudStorage::Client::OneDrive {
namespace {

constexpr ErrorRow kRows[] = {
    {400, "notSupported", CoreErrors::NotImplemented, Resend::Never},
    {403, "quotaLimitReached", CoreErrors::QuotaExceeded, Resend::Never},
    {410, "", CoreErrors::Conflict, Resend::Never},
    {501, "", CoreErrors::NotImplemented, Resend::Never},
    {503, "activityLimitReached", CoreErrors::Throttled, Resend::Always},
    {507, "", CoreErrors::QuotaExceeded, Resend::Never},
    {509, "", CoreErrors::Throttled, Resend::Always},  // bandwidth limit
};

ServiceMessage readMessage(const Http::Response& response) {
  const auto texts = Util::Json::texts(response.body, {"error/code", "error/message"});
  return {texts[0], texts[1]};
}

}  // namespace

Error OneDriveErrorMarshaller::marshall(const Http::Response& response, Http::Method method) const {
  if (response.failure) return transportError(*response.failure);
  return answerError(response, method, readMessage(response), kRows);
}

}  // namespace CloudStorage::Client::OneDrive
