#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "error_checks.h"
#include "fuzz_input.h"

namespace {

namespace OneDrive = CloudStorage::Client::OneDrive;
using namespace CloudStorage;  // NOLINT: of all that a client is made of
using Client::Error;
using ErrorChecks::require;

/// Responds to every request with the same body.
class FixedTransport : public Http::Transport {
 public:
  explicit FixedTransport(std::string_view body) : body_(body) {}

  Http::Response send(const Http::Request& /*request*/) override {
    Http::Response response;
    response.status = 200;
    response.body = body_;
    return response;
  }

 private:
  std::string_view body_;
};

class NoRetries : public Client::RetryStrategy {
 public:
  bool shouldRetry(const Error&, unsigned long) const override { return false; }
  long getDelayBeforeNextRetry(const Error&, unsigned long) const override { return 0; }
};

OneDrive::OneDriveClient clientFor(std::string_view body) {
  Client::ClientParts parts;
  parts.credential = std::make_shared<Auth::OAuth2Credential>();
  parts.retryStrategy = std::make_shared<NoRetries>();
  parts.errorMarshaller = std::make_shared<OneDrive::OneDriveErrorMarshaller>();
  Client::ClientEnvironment environment;
  environment.transport = std::make_shared<FixedTransport>(body);
  return {Auth::OAuth2ClientSpec(), parts, environment};
}

// False if the response is refused, which must be with a reason.
template <typename Outcome>
bool isAccepted(const Outcome& outcome) {
  if (outcome.isSuccess()) return true;
  const Error& error = outcome.getError();
  require(error.errorType == Client::CoreErrors::LocalFailure);
  require(error.exceptionName == "MalformedResponse" || error.exceptionName == "ResponseTooLarge");
  ErrorChecks::checkLine(error.message);
  return false;
}

// Texts become C strings, and must be within what holds them: toString() reads them all.
void checkItem(const OneDrive::Model::DriveItem& item) {
  require(item.toString().find('\0') == std::string::npos);
}

std::size_t countOf(const OneDrive::OneDriveClient& client, const char* filter) {
  OneDrive::Model::ListChildrenRequest request;
  request.itemId = "folder";
  if (filter != nullptr) request.filter = filter;
  const auto outcome = client.listChildren(request);
  if (!isAccepted(outcome)) return 0;
  for (const auto& item : outcome.getResult().items) checkItem(item);
  require(outcome.getResult().nextToken.find('\0') == std::string::npos);
  return outcome.getResult().items.size();
}

}  // namespace

void checkInput(std::string_view input) {
  const auto client = clientFor(input);
  OneDrive::Model::GetDriveItemRequest itemRequest;
  itemRequest.itemId = "item";
  const auto item = client.getDriveItem(itemRequest);
  if (isAccepted(item)) {
    require(!item.getResult().id.empty());
    checkItem(item.getResult());
  }
  const auto drive = client.getDriveMetadata({});
  if (isAccepted(drive)) require(drive.getResult().driveType.find('\0') == std::string::npos);

  const std::size_t folders = countOf(client, "folder ne null");
  const std::size_t both = countOf(client, "folder ne null or remoteItem ne null");
  require(folders <= both && both <= countOf(client, nullptr));
}
