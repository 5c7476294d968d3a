#include <algorithm>
#include <memory>
#include <string>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "client_parts.h"
#include "error_checks.h"
#include "fuzz_input.h"

namespace {

namespace AmazonDrive = CloudStorage::Client::AmazonDrive;
using namespace CloudStorage;  // NOLINT: of all that a client is made of
using ErrorChecks::require;

class NoRetries : public Client::RetryStrategy {
 public:
  bool shouldRetry(const Client::Error&, unsigned long) const override { return false; }
  long getDelayBeforeNextRetry(const Client::Error&, unsigned long) const override { return 0; }
};

bool endsWith(const std::string& text, std::string_view end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

/// Whether requests with a token may go there.
bool isOfService(const Http::URI& uri) {
  const std::string host = '.' + uri.host();
  const bool isOwn = endsWith(host, ".amazonaws.com") || endsWith(host, ".amazon.com") ||
                     endsWith(host, ".amazonclouddrive.com");
  return uri.scheme() == "https" && isOwn;
}

template <typename Outcome>
bool isAccepted(const Outcome& outcome) {
  if (outcome.isSuccess()) return true;
  ErrorChecks::checkLine(outcome.getError().message);
  return false;
}

}  // namespace

void checkInput(std::string_view input) {
  Client::ClientParts parts;
  const auto credential = std::make_shared<Auth::OAuth2Credential>();
  credential->setTokens("access", "refresh");
  parts.credential = credential;
  parts.retryStrategy = std::make_shared<NoRetries>();
  parts.errorMarshaller = std::make_shared<AmazonDrive::AmazonDriveErrorMarshaller>();
  const auto transport = std::make_shared<FuzzParts::LimitedTransport>(
      [&](const auto& /*request*/) { return FuzzParts::response(200, input); });
  const AmazonDrive::AmazonDriveClient client(Auth::OAuth2ClientSpec(), parts,
                                              FuzzParts::environment(transport));

  isAccepted(client.getProfile({}));
  const auto endpoints = client.getEndpoint({});
  if (isAccepted(endpoints)) {
    AmazonDrive::Model::ListFileResourceRequest list;
    list.endpoint = endpoints.getResult().metadataUrl;
    isAccepted(client.listFileResource(list));
    AmazonDrive::Model::FileRequest create;
    create.endpoint = endpoints.getResult().metadataUrl;
    create.name = "n";
    isAccepted(client.folderCreate(create));
  }
  const auto& requests = transport->requests();
  require(std::all_of(requests.begin(), requests.end(),
                      [](const auto& request) { return isOfService(request.uri); }));
}
