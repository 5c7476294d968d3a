#include <algorithm>
#include <chrono>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Auth/AzureSharedKeySigner.h"
#include "Client/AzureSSB/AzureRegions.h"
#include "Client/ErrorMarshalling.h"
#include "Client/ErrorTables.h"
#include "Client/ListingExtent.h"
#include "Client/OptionalParameters.h"
#include "Client/Redirect.h"
#include "Client/ServiceCall.h"
#include "Client/XmlResponse.h"
#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "Http/PercentEncoding.h"
#include "Util/Text.h"
#include "Util/Time.h"
#include "Util/Xml.h"

namespace CloudStorage::Client::AzureSSB {

namespace Xml = Util::Xml;

// Addresses and authorization

namespace {

/// Signs each attempt, and follows redirects to hosts below `domain`. The service itself sends
/// none, but gateways before it may.
class AzureRequestPolicy : public RequestPolicy {
 public:
  AzureRequestPolicy(const ServiceCall& call, const Auth::AzureSSBAuthentication& authentication,
                     std::string domain)
      : call_(call), authentication_(authentication), domain_(std::move(domain)) {}

  void authorize(Http::Request& request) override {
    Auth::AzureSharedKey::sign(request, authentication_, call_.now());
  }

  bool redirect(const std::string& location, Http::Request& request) override {
    auto target = redirectTarget(request.uri, location);
    if (!target || !isBelow(target->host(), domain_)) return false;
    request.uri = *std::move(target);
    return true;
  }

  std::vector<std::string> secretsIn(const Http::Request& request) const override {
    return {Auth::AzureSharedKey::stringToSign(request, authentication_.accountName())};
  }

 private:
  const ServiceCall& call_;
  const Auth::AzureSSBAuthentication& authentication_;
  std::string domain_;
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
      : domain(".blob." + std::string(hostSuffixOf(region))),
        authentication(std::dynamic_pointer_cast<Auth::AzureSSBAuthentication>(parts.credential)),
        call(parts, std::move(environment)) {
    if (isAccountName(accountName)) endpoint = Http::URI::parse("https://" + accountName + domain);
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
  ServiceCall::OutcomeOf<Parse> send(const Operation& operation, const Locate& locate,
                                     const AzureSSBRequest& request, const Parse& parse) const {
    return call.run(operation.name, [&]() -> ServiceCall::OutcomeOf<Parse> {
      Util::Outcome<Http::URI, Error> uri = locate();
      if (!uri.isSuccess()) return uri.getError();  // `authentication` may be null
      AzureRequestPolicy policy(call, *authentication, domain);
      return call.send(
          operation, [&] { return uri; }, request, policy, parse);
    });
  }

  std::string domain;                 // of all accounts' hosts in the region
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

/// Only the first line of a message is kept: the others contain the request's id and time. A
/// response without a body has the code in a header.
ServiceMessage readMessage(const Http::Response& response) {
  ServiceMessage message = readXmlError(response.body);
  message.message.erase(std::min(message.message.find('\n'), message.message.size()));
  if (message.code.empty() && message.message.empty()) {
    message.message = reasonPhrase(response.status);
  }
  const auto header = response.headers.find(kErrorCodeHeader);
  if (header != response.headers.end() && !header->second.empty()) message.code = header->second;
  return message;
}

/// The service reports a wrong clock like a wrong key. It accepts 15 minutes.
bool isClockWrong(const Http::Response& response) {
  constexpr std::chrono::minutes kAccepted(15);
  const auto date = response.headers.find("date");
  if (date == response.headers.end()) return false;
  const auto theirs = Util::parseHttpDate(date->second);
  return theirs && std::chrono::abs(std::chrono::system_clock::now() - *theirs) > kAccepted;
}

}  // namespace

ErrorTable errorTable() { return kRows; }

Error AzureSSBErrorMarshaller::marshall(const Http::Response& response, Http::Method method) const {
  Error error = marshallError(response, method, readMessage, kRows);
  if (error.errorType == CoreErrors::SignatureMismatch && isClockWrong(response)) {
    error.kind = FailureKind::WrongClock;
  }
  return error;
}

// Containers

namespace {

Util::Outcome<XmlDocument, Error> readEnumeration(Http::Response& response) {
  return asListing(takeXml(response), response, "EnumerationResults", kRows);
}

// Reads the marker of the next page into `result`. A service that repeats the marker of the request
// would be asked for the same page for ever.
template <typename Result, typename Request>
Util::Outcome<Result, Error> withNextMarker(Result result, Xml::Document& document,
                                            const Request& request) {
  result.nextMarker = document.text(Xml::lastChild(document.root(), "NextMarker"));
  if (result.nextMarker.empty() || result.nextMarker != request.marker.value()) return result;
  return malformedResponse("The answer repeats the marker of its request");
}

Util::Outcome<Model::ListContainerResult, Error> parseContainers(
    Http::Response&& response, const Model::ListContainerRequest& request) {
  const auto enumeration = readEnumeration(response);
  if (!enumeration.isSuccess()) return enumeration.getError();
  Xml::Document& document = *enumeration.getResult();

  const std::size_t most = mostEntriesOf(request.maxResults);
  std::size_t received = 0;
  Model::ListContainerResult result;
  const auto list = Xml::lastChild(document.root(), "Containers");
  for (auto node = list.first_child(); node; node = node.next_sibling()) {
    if (!Xml::isNamed(node, "Container")) continue;
    if (++received > most) return tooManyEntries(most);
    const std::string_view name = document.text(Xml::child(node, "Name"));
    if (name.empty()) continue;
    const auto properties = Xml::child(node, "Properties");
    result.containers.push_back({name, document.text(Xml::child(properties, "Last-Modified")),
                                 document.text(Xml::child(properties, "Etag"))});
  }
  result.storage = document.storage();
  return withNextMarker(std::move(result), document, request);
}

template <typename Result>
Util::Outcome<Result, Error> parseStored(Http::Response&& response) {
  return Client::parseStored<Result>(response, kRows);
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
  return ListingExtent::noted(implementation_->send(
      {"listContainer", Http::Method::Get}, [&] { return implementation_->accountUri(); }, request,
      [&](Http::Response&& response) { return parseContainers(std::move(response), request); }));
}

void Model::CreateContainerRequest::addQueryStringParameters(Http::URI& uri) const {
  uri.addQueryStringParameter("restype", "container");
}

Util::Outcome<Model::CreateContainerResult, Error> AzureSSBClient::createContainer(
    const Model::CreateContainerRequest& request) const {
  return implementation_->send(
      {"createContainer", Http::Method::Put},
      [&] { return implementation_->containerUri(request.container); }, request,
      parseStored<Model::CreateContainerResult>);
}

// Blobs

namespace {

// Names with characters that XML cannot contain are percent-encoded and have an attribute for it.
// In any other name a percent sign is literal.
std::string_view nameOf(Xml::Document& document, pugi::xml_node entry) {
  const auto name = Xml::child(entry, "Name");
  const std::string_view text = document.text(name);
  if (!name.attribute("Encoded").as_bool()) return text;
  return document.replace(text, Util::toName(Http::uriDecode(text)));
}

Util::Outcome<Model::ListBlobResult, Error> parseBlobs(Http::Response&& response,
                                                       const Model::ListBlobRequest& request) {
  const auto enumeration = readEnumeration(response);
  if (!enumeration.isSuccess()) return enumeration.getError();
  Xml::Document& document = *enumeration.getResult();

  const std::size_t most = mostEntriesOf(request.maxResults);
  std::size_t received = 0;
  Model::ListBlobResult result;
  const auto list = Xml::lastChild(document.root(), "Blobs");
  for (auto node = list.first_child(); node; node = node.next_sibling()) {
    const bool isPrefix = Xml::isNamed(node, "BlobPrefix");
    if (!isPrefix && !Xml::isNamed(node, "Blob")) continue;
    if (++received > most) return tooManyEntries(most);
    const std::string_view name = nameOf(document, node);
    if (!isPrefix) {
      result.blobs.push_back({name});
    } else if (!name.empty()) {
      result.blobPrefixes.push_back({name});
    }
  }
  result.storage = document.storage();
  return withNextMarker(std::move(result), document, request);
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
  return ListingExtent::noted(implementation_->send(
      {"listBlob", Http::Method::Get},
      [&] { return implementation_->containerUri(request.container.value()); }, request,
      [&](Http::Response&& response) { return parseBlobs(std::move(response), request); }));
}

Http::HeaderValueCollection Model::PutBlobRequest::getRequestSpecificHeaders() const {
  if (!blobType.isPresent()) return {};
  return {{"x-ms-blob-type", blobType.value()}};
}

Util::Outcome<Model::PutBlobResult, Error> AzureSSBClient::putBlob(
    const Model::PutBlobRequest& request) const {
  return implementation_->send(
      {"putBlob", Http::Method::Put},
      [&] { return implementation_->blobUri(request.container, request.blob.value()); }, request,
      parseStored<Model::PutBlobResult>);
}

}  // namespace CloudStorage::Client::AzureSSB
