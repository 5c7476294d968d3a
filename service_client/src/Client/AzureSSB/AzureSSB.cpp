#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Auth/AzureSharedKeySigner.h"
#include "Client/ErrorMarshalling.h"
#include "Client/OptionalParameters.h"
#include "Client/ServiceCall.h"
#include "Client/XmlResponse.h"
#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "Http/PercentEncoding.h"
#include "Util/Xml.h"

namespace CloudStorage::Client::AzureSSB {

namespace Xml = Util::Xml;

// Regions

namespace {

struct RegionName {
  std::string_view text;  // lower-case, without separators
  Region region;
};

// Whole names. A longer name may belong to another cloud: germanynorth and germanywestcentral are
// regions of the global cloud.
constexpr RegionName kNames[] = {
    {"china", Region::China},
    {"azurechina", Region::China},
    {"azurechinacloud", Region::China},
    {"germany", Region::Germany},
    {"azuregerman", Region::Germany},
    {"azuregermancloud", Region::Germany},
    {"germanycentral", Region::Germany},
    {"germanynortheast", Region::Germany},
    {"azureusgovernment", Region::USGovernment},
    {"government", Region::USGovernment},
};

// Prefixes of names, because regions are added to these clouds over time.
constexpr RegionName kBeginnings[] = {
    {"chinaeast", Region::China},
    {"chinanorth", Region::China},
    {"usgov", Region::USGovernment},
    {"usdod", Region::USGovernment},
};

std::string normalize(const std::string& regionName) {
  std::string normalized;
  for (const char c : regionName) {
    if (c == ' ' || c == '-' || c == '_') continue;
    normalized += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return normalized;
}

std::string_view hostSuffixOf(Region region) {
  switch (region) {
    case Region::Global:
      return "core.windows.net";
    case Region::China:
      return "core.chinacloudapi.cn";
    case Region::Germany:
      return "core.cloudapi.de";
    case Region::USGovernment:
      return "core.usgovcloudapi.net";
  }
  return {};
}

}  // namespace

Region AzureSSBClient::getRegionForName(const std::string& regionName) {
  const std::string name = normalize(regionName);
  for (const auto& [text, region] : kNames) {
    if (name == text) return region;
  }
  for (const auto& [text, region] : kBeginnings) {
    if (name.compare(0, text.size(), text) == 0) return region;
  }
  return Region::Global;
}

// Addresses and authorization

namespace {

/// Signs each attempt. The service redirects none of these requests, so no redirect is followed.
class AzureRequestPolicy : public RequestPolicy {
 public:
  AzureRequestPolicy(const ServiceCall& call, const Auth::AzureSSBAuthentication& authentication)
      : call_(call), authentication_(authentication) {}

  void authorize(Http::Request& request) override {
    Auth::AzureSharedKey::sign(request, authentication_, call_.now());
  }

 private:
  const ServiceCall& call_;
  const Auth::AzureSSBAuthentication& authentication_;
};

// The name becomes part of a host name, so it must not contain characters that are special there.
bool isAccountName(std::string_view name) {
  constexpr std::size_t kShortest = 3;
  constexpr std::size_t kLongest = 24;
  return name.size() >= kShortest && name.size() <= kLongest &&
         std::all_of(name.begin(), name.end(),
                     [](char c) { return (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9'); });
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

  Util::Outcome<Http::URI, Error> accountUri() const {
    if (!authentication) return localError("InvalidRequest", "There is no key to sign with");
    if (endpoint) return *endpoint;
    return localError("InvalidRequest",
                      "The account name does not have 3 to 24 lower-case letters and digits");
  }

  Util::Outcome<Http::URI, Error> containerUri(std::string_view container) const {
    auto account = accountUri();
    if (!account.isSuccess()) return account;
    if (!Http::URI::isPathSegment(container)) {
      return localError("InvalidRequest", "The container name is empty or a relative path");
    }
    Http::URI uri = std::move(account).getResult();
    uri.addPathSegment(container);
    return uri;
  }

  Util::Outcome<Http::URI, Error> blobUri(std::string_view container, std::string_view blob) const {
    auto inContainer = containerUri(container);
    if (!inContainer.isSuccess()) return inContainer;
    if (blob.empty()) return localError("InvalidRequest", "The blob name is empty");
    Http::URI uri = std::move(inContainer).getResult();
    uri.addPath(blob);
    return uri;
  }

  template <typename Locate, typename Parse>
  ServiceCall::OutcomeOf<Parse> send(Http::Method method, const Locate& locate,
                                     const AzureSSBRequest& request, const Parse& parse) const {
    return ServiceCall::guarded([&]() -> ServiceCall::OutcomeOf<Parse> {
      const Util::Outcome<Http::URI, Error> uri = locate();
      if (!uri.isSuccess()) return uri.getError();  // `authentication` may be null
      AzureRequestPolicy policy(call, *authentication);
      return call.send(
          method, [&] { return uri; }, request, policy, parse);
    });
  }

  std::optional<Http::URI> endpoint;  // empty if the account name cannot be part of a host name
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

// Containers

namespace {

Util::Outcome<XmlDocument, Error> readEnumeration(Http::Response&& response) {
  auto document = readXml(std::move(response.body));
  if (document.isSuccess() && !Xml::isNamed(document.getResult()->root(), "EnumerationResults")) {
    return malformedResponse("The answer is no EnumerationResults");
  }
  return document;
}

Util::Outcome<Model::ListContainerResult, Error> parseContainers(Http::Response&& response) {
  const auto enumeration = readEnumeration(std::move(response));
  if (!enumeration.isSuccess()) return enumeration.getError();
  Xml::Document& document = *enumeration.getResult();

  Model::ListContainerResult result;
  const auto list = Xml::child(document.root(), "Containers");
  for (auto node = Xml::child(list, "Container"); node;
       node = Xml::nextSibling(node, "Container")) {
    const auto properties = Xml::child(node, "Properties");
    result.containers.push_back({document.text(Xml::child(node, "Name")),
                                 document.text(Xml::child(properties, "Last-Modified")),
                                 document.text(Xml::child(properties, "Etag"))});
  }
  result.nextMarker = document.text(Xml::child(document.root(), "NextMarker"));
  result.storage = document.storage();
  return result;
}

// The service's response has no body. A body comes from another source, such as the login page of a
// network.
template <typename Result>
Util::Outcome<Result, Error> parseNothing(Http::Response&& response) {
  if (response.body.find_first_not_of(" \t\r\n") == std::string::npos) return Result();
  return malformedResponse("The answer has a body");
}

}  // namespace

void Model::ListContainerRequest::addQueryStringParameters(Http::URI& uri) const {
  uri.addQueryStringParameter("comp", "list");
  addUnlessEmpty(uri, "prefix", prefix);
  addUnlessEmpty(uri, "marker", marker);
  addIfPresent(uri, "maxresults", maxResults);
}

Util::Outcome<Model::ListContainerResult, Error> AzureSSBClient::listContainer(
    const Model::ListContainerRequest& request) const {
  return implementation_->send(
      Http::Method::Get, [&] { return implementation_->accountUri(); }, request, parseContainers);
}

void Model::CreateContainerRequest::addQueryStringParameters(Http::URI& uri) const {
  uri.addQueryStringParameter("restype", "container");
}

Util::Outcome<Model::CreateContainerResult, Error> AzureSSBClient::createContainer(
    const Model::CreateContainerRequest& request) const {
  return implementation_->send(
      Http::Method::Put, [&] { return implementation_->containerUri(request.container); }, request,
      parseNothing<Model::CreateContainerResult>);
}

// Blobs

namespace {

// Names with characters that XML cannot contain are percent-encoded and have an attribute for it.
// In any other name a percent sign is literal.
std::string_view nameOf(Xml::Document& document, pugi::xml_node entry) {
  const auto name = Xml::child(entry, "Name");
  const std::string_view text = document.text(name);
  return name.attribute("Encoded").as_bool() ? document.replace(text, Http::uriDecode(text)) : text;
}

Util::Outcome<Model::ListBlobResult, Error> parseBlobs(Http::Response&& response) {
  const auto enumeration = readEnumeration(std::move(response));
  if (!enumeration.isSuccess()) return enumeration.getError();
  Xml::Document& document = *enumeration.getResult();

  Model::ListBlobResult result;
  for (const auto& node : Xml::child(document.root(), "Blobs").children()) {
    if (Xml::isNamed(node, "BlobPrefix")) result.blobPrefixes.push_back({nameOf(document, node)});
    if (Xml::isNamed(node, "Blob")) result.blobs.push_back({nameOf(document, node)});
  }
  for (const auto& prefix : result.blobPrefixes) {
    // As a C string it would be truncated and denote another folder.
    if (prefix.name.find('\0') != std::string_view::npos) {
      return malformedResponse("A prefix in the answer holds a byte of value 0");
    }
  }
  result.nextMarker = document.text(Xml::child(document.root(), "NextMarker"));
  result.storage = document.storage();
  return result;
}

}  // namespace

void Model::ListBlobRequest::addQueryStringParameters(Http::URI& uri) const {
  uri.addQueryStringParameter("restype", "container");
  uri.addQueryStringParameter("comp", "list");
  addUnlessEmpty(uri, "prefix", prefix);
  addUnlessEmpty(uri, "delimiter", delimiter);
  addUnlessEmpty(uri, "marker", marker);
  addIfPresent(uri, "maxresults", maxResults);
}

Util::Outcome<Model::ListBlobResult, Error> AzureSSBClient::listBlob(
    const Model::ListBlobRequest& request) const {
  return implementation_->send(
      Http::Method::Get, [&] { return implementation_->containerUri(request.container.value()); },
      request, parseBlobs);
}

Http::HeaderValueCollection Model::PutBlobRequest::getRequestSpecificHeaders() const {
  if (!blobType.isPresent()) return {};
  return {{"x-ms-blob-type", blobType.value()}};
}

Util::Outcome<Model::PutBlobResult, Error> AzureSSBClient::putBlob(
    const Model::PutBlobRequest& request) const {
  return implementation_->send(
      Http::Method::Put,
      [&] { return implementation_->blobUri(request.container, request.blob.value()); }, request,
      parseNothing<Model::PutBlobResult>);
}

// Errors

namespace {

/// Contains the code even if the body is empty.
constexpr char kErrorCodeHeader[] = "x-ms-error-code";

constexpr ErrorRow kRows[] = {
    {kAnyStatus, "InvalidResourceName", CoreErrors::InvalidBucketName, Retry::Never},
    // A name that is too short or too long: no other value in the requests has a range.
    {kAnyStatus, "OutOfRangeInput", CoreErrors::InvalidBucketName, Retry::Never},
    {kAnyStatus, "ContainerNotFound", CoreErrors::BucketNotFound, Retry::Never},
    // Container names are unique within the account, so the existing one is the caller's own.
    {kAnyStatus, "ContainerAlreadyExists", CoreErrors::BucketAlreadyOwned, Retry::Never},
    {kAnyStatus, "ContainerBeingDeleted", CoreErrors::Conflict, Retry::Never},
    {kAnyStatus, "BlobNotFound", CoreErrors::NotFound, Retry::Never},
    {kAnyStatus, "ResourceNotFound", CoreErrors::NotFound, Retry::Never},
    {kAnyStatus, "BlobImmutableDueToPolicy", CoreErrors::AccessDenied, Retry::Never},
    {kAnyStatus, "ConditionNotMet", CoreErrors::PreconditionFailed, Retry::Never},
    {kAnyStatus, "LeaseIdMissing", CoreErrors::PreconditionFailed, Retry::Never},

    {kAnyStatus, "NoAuthenticationInformation", CoreErrors::NotAuthenticated, Retry::Never},
    {kAnyStatus, "InvalidAuthenticationInfo", CoreErrors::NotAuthenticated, Retry::Never},
    // Sent both for a wrong key and for a wrong clock.
    {kAnyStatus, "AuthenticationFailed", CoreErrors::SignatureMismatch, Retry::Never},
    {kAnyStatus, "AuthorizationFailure", CoreErrors::AccessDenied, Retry::Never},
    {kAnyStatus, "KeyBasedAuthenticationNotPermitted", CoreErrors::AccessDenied, Retry::Never},
    {kAnyStatus, "InsufficientAccountPermissions", CoreErrors::AccessDenied, Retry::Never},
    {kAnyStatus, "AccountIsDisabled", CoreErrors::AccountProblem, Retry::Never},
    {kAnyStatus, "AccountBeingCreated", CoreErrors::AccountProblem, Retry::Never},

    {kAnyStatus, "AccountRequiresHttps", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "InvalidUri", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "InvalidHeaderValue", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "MissingRequiredHeader", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "MissingContentLengthHeader", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "InvalidQueryParameterValue", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "OutOfRangeQueryParameterValue", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "InvalidXmlDocument", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "UnsupportedHttpVerb", CoreErrors::InvalidRequest, Retry::Never},

    {kAnyStatus, "ServerBusy", CoreErrors::Throttled, Retry::Always},
    {kAnyStatus, "OperationTimedOut", CoreErrors::Timeout, Retry::Always},
    {kAnyStatus, "InternalError", CoreErrors::ServiceFailure, Retry::Always},
};

/// Only the first line of a message is kept: the others contain the request's id and time.
ServiceMessage readMessage(const Http::Response& response) {
  ServiceMessage message = readXmlError(response.body);
  message.message.erase(std::min(message.message.find('\n'), message.message.size()));
  const auto header = response.headers.find(kErrorCodeHeader);
  if (header != response.headers.end() && !header->second.empty()) message.code = header->second;
  return message;
}

}  // namespace

Error AzureSSBErrorMarshaller::marshall(const Http::Response& response, Http::Method method) const {
  return marshallError(response, method, readMessage, kRows);
}

}  // namespace CloudStorage::Client::AzureSSB
