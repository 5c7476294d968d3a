#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <utility>

#include "Auth/AzureSharedKeySigner.h"
#include "Client/AzureSSB/AzureSSBRegions.h"
#include "Client/ErrorMarshalling.h"
#include "Client/ServiceCall.h"
#include "Http/PercentEncoding.h"
#include "Util/Xml.h"

namespace CloudStorage::Client::AzureSSB {
namespace {

namespace Xml = Util::Xml;

/// Signs each attempt. The service redirects none of these calls, so nothing is followed.
class AzureConduct : public AttemptConduct {
 public:
  AzureConduct(const ServiceCall& call, const Auth::AzureSSBAuthentication& authentication)
      : call_(call), authentication_(authentication) {}

  void authorize(Http::Request& request) override {
    Auth::AzureSharedKey::sign(request, authentication_, call_.now());
  }

 private:
  const ServiceCall& call_;
  const Auth::AzureSSBAuthentication& authentication_;
};

// What goes into a host name must not be able to lead elsewhere.
bool isAccountName(std::string_view name) {
  constexpr std::size_t kShortest = 3;
  constexpr std::size_t kLongest = 24;
  return name.size() >= kShortest && name.size() <= kLongest &&
         std::all_of(name.begin(), name.end(),
                     [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); });
}

// As a path segment any of these would address something else.
bool isAddressable(std::string_view container) {
  return !container.empty() && container != "." && container != "..";
}

std::optional<Error> checkPage(const Xml::Page& page) {
  if (!page.status().isSuccess()) return localError("MalformedResponse", page.status().toString());
  if (Xml::isNamed(page.root(), "EnumerationResults")) return std::nullopt;
  return localError("MalformedResponse", "The answer is no EnumerationResults");
}

std::optional<Error> parseContainers(Http::Response& response, Model::ListContainerResult& result) {
  Xml::Page page(std::move(response.body));
  if (auto error = checkPage(page)) return error;

  const auto list = Xml::child(page.root(), "Containers");
  for (auto node = Xml::child(list, "Container"); node;
       node = Xml::nextSibling(node, "Container")) {
    const auto properties = Xml::child(node, "Properties");
    result.containers.push_back({page.text(Xml::child(node, "Name")),
                                 page.text(Xml::child(properties, "Last-Modified")),
                                 page.text(Xml::child(properties, "Etag"))});
  }
  result.nextMarker = page.text(Xml::child(page.root(), "NextMarker"));
  result.page = page.storage();
  return std::nullopt;
}

// Names with characters that XML cannot carry come percent-encoded and say so; in any other name a
// percent sign is just that.
std::string_view nameOf(Xml::Page& page, pugi::xml_node entry) {
  const auto name = Xml::child(entry, "Name");
  const std::string_view text = page.text(name);
  return name.attribute("Encoded").as_bool() ? page.replace(text, Http::uriDecode(text)) : text;
}

std::optional<Error> parseBlobs(Http::Response& response, Model::ListBlobResult& result) {
  Xml::Page page(std::move(response.body));
  if (auto error = checkPage(page)) return error;

  for (const auto& node : Xml::child(page.root(), "Blobs").children()) {
    if (Xml::isNamed(node, "BlobPrefix")) result.blobPrefixes.push_back({nameOf(page, node)});
    if (Xml::isNamed(node, "Blob")) result.blobs.push_back({nameOf(page, node)});
  }
  for (const auto& prefix : result.blobPrefixes) {
    // To whoever reads it as a C string it would be another folder, such as the top level.
    if (prefix.name.find('\0') != std::string_view::npos) {
      return localError("MalformedResponse", "A prefix in the answer holds a byte of value 0");
    }
  }
  result.nextMarker = page.text(Xml::child(page.root(), "NextMarker"));
  result.page = page.storage();
  return std::nullopt;
}

// The service answers with headers alone. A text is somebody else's, such as a page to log in at.
template <typename Result>
std::optional<Error> checkStored(Http::Response& response, Result& /*result*/) {
  if (response.body.find_first_not_of(" \t\r\n") == std::string::npos) return std::nullopt;
  return localError("MalformedResponse", "The answer has a body");
}

}  // namespace

struct AzureSSBClient::Implementation {
  Implementation(const std::string& accountName, const ClientParts& parts,
                 ClientEnvironment environment, Region region)
      : authentication(std::dynamic_pointer_cast<Auth::AzureSSBAuthentication>(parts.credential)),
        call(parts, std::move(environment)) {
    if (!isAccountName(accountName)) return;
    endpoint =
        Http::URI::parse("https://" + accountName + ".blob." + std::string(hostSuffixOf(region)));
  }

  template <typename Result>
  Util::Outcome<Result, Error> send(Http::Method method, const Http::URI& uri,
                                    const AzureSSBRequest& request,
                                    ServiceCall::Parser<Result> parse) const {
    AzureConduct conduct(call, *authentication);
    return call.send<Result>(method, uri, request, conduct, parse);
  }

  // Where `container` is, or why nowhere.
  Util::Outcome<Http::URI, Error> locate(std::string_view container) const {
    auto uri = locateAccount();
    if (!uri.isSuccess()) return uri;
    if (!isAddressable(container)) {
      return localError("InvalidRequest", "The container name is empty or a relative path");
    }
    Http::URI located = uri.getResult();
    located.addPathSegment(container);
    return located;
  }

  Util::Outcome<Http::URI, Error> locateAccount() const {
    if (!authentication) return localError("InvalidRequest", "There is no key to sign with");
    if (endpoint) return *endpoint;
    return localError("InvalidRequest",
                      "The account name does not have 3 to 24 lower-case letters and digits");
  }

  std::optional<Http::URI> endpoint;  // empty if the account name cannot stand in a host name
  std::shared_ptr<Auth::AzureSSBAuthentication> authentication;
  ServiceCall call;
};

AzureSSBClient::AzureSSBClient(std::string accountName,
                               std::shared_ptr<Auth::AzureSSBAuthentication> authentication,
                               std::shared_ptr<RetryStrategy> retryStrategy,
                               std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                               std::shared_ptr<Util::RateLimiter> readRateLimiter,
                               std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                               std::shared_ptr<Util::Threading::Executor> executor,
                               Config::ProxySetting proxy, Region region)
    : AzureSSBClient(std::move(accountName),
                     {std::move(authentication), std::move(retryStrategy),
                      std::move(errorMarshaller), std::move(readRateLimiter),
                      std::move(writeRateLimiter), std::move(executor), std::move(proxy)},
                     ClientEnvironment{}, region) {}

AzureSSBClient::AzureSSBClient(std::string accountName, ClientParts parts,
                               ClientEnvironment environment, Region region)
    : WSClient(std::move(parts)),
      accountName_(std::move(accountName)),
      region_(region),
      implementation_(std::make_unique<Implementation>(accountName_, this->parts(),
                                                       std::move(environment), region)) {}

AzureSSBClient::~AzureSSBClient() = default;

Region AzureSSBClient::getRegionForName(const std::string& regionName) {
  return regionForName(regionName);
}

Util::Outcome<Model::ListContainerResult, Error> AzureSSBClient::listContainer(
    const Model::ListContainerRequest& request) const {
  const auto uri = implementation_->locateAccount();
  if (!uri.isSuccess()) return uri.getError();
  return implementation_->send<Model::ListContainerResult>(Http::Method::Get, uri.getResult(),
                                                           request, parseContainers);
}

Util::Outcome<Model::CreateContainerResult, Error> AzureSSBClient::createContainer(
    const Model::CreateContainerRequest& request) const {
  const auto uri = implementation_->locate(request.container);
  if (!uri.isSuccess()) return uri.getError();
  return implementation_->send<Model::CreateContainerResult>(Http::Method::Put, uri.getResult(),
                                                             request, checkStored);
}

Util::Outcome<Model::ListBlobResult, Error> AzureSSBClient::listBlob(
    const Model::ListBlobRequest& request) const {
  const auto uri = implementation_->locate(request.container.value());
  if (!uri.isSuccess()) return uri.getError();
  return implementation_->send<Model::ListBlobResult>(Http::Method::Get, uri.getResult(), request,
                                                      parseBlobs);
}

Util::Outcome<Model::PutBlobResult, Error> AzureSSBClient::putBlob(
    const Model::PutBlobRequest& request) const {
  const auto uri = implementation_->locate(request.container);
  if (!uri.isSuccess()) return uri.getError();
  if (request.blob.value().empty()) return localError("InvalidRequest", "The blob name is empty");
  Http::URI blob = uri.getResult();
  blob.addPath(request.blob.value());
  return implementation_->send<Model::PutBlobResult>(Http::Method::Put, blob, request, checkStored);
}

}  // namespace CloudStorage::Client::AzureSSB
