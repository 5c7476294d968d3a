#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>

#include "Auth/AWSV4Signer.h"
#include "Client/ErrorMarshalling.h"
#include "Client/ErrorTables.h"
#include "Client/ListingExtent.h"
#include "Client/OptionalParameters.h"
#include "Client/Paging.h"
#include "Client/S3/S3Addressing.h"
#include "Client/S3/S3ListingPages.h"
#include "Client/S3/S3ObjectsReader.h"
#include "Client/S3/S3RequestPolicy.h"
#include "Client/S3/S3WholeListings.h"
#include "Client/ServiceCall.h"
#include "Client/XmlResponse.h"
#include "CloudStorage/Client/S3/S3Client.h"
#include "Http/PercentEncoding.h"
#include "Util/Text.h"
#include "Util/Xml.h"

namespace CloudStorage::Client::S3 {

namespace Xml = Util::Xml;

// The client

namespace {

// The region that requests are signed for by default.
std::string sessionRegion(const std::string& given, const S3Endpoint& endpoint,
                          const Auth::AWSAuthCredential* credential) {
  if (!given.empty()) return given;
  if (!endpoint.region.empty()) return endpoint.region;
  return credential == nullptr ? std::string() : credential->region();
}

}  // namespace

struct S3Client::Implementation {
  Implementation(const std::string& endpointText, const std::string& region,
                 const ClientParts& parts, ClientEnvironment environment)
      : Implementation(parseEndpoint(endpointText), region,
                       std::dynamic_pointer_cast<Auth::AWSAuthCredential>(parts.credential), parts,
                       std::move(environment)) {}

  Implementation(const std::optional<S3Endpoint>& parsed, const std::string& region,
                 std::shared_ptr<Auth::AWSAuthCredential> givenCredential, const ClientParts& parts,
                 ClientEnvironment environment)
      : hasEndpoint(parsed),
        endpoint(parsed.value_or(S3Endpoint())),
        credential(std::move(givenCredential)),
        regions(sessionRegion(region, endpoint, credential.get())),
        signer(credential),
        call(parts, std::move(environment)) {}

  /// `uri`, if requests can be sent at all.
  Util::Outcome<Http::URI, Error> checked(const Http::URI& uri) const {
    if (!hasEndpoint) return localError("InvalidRequest", "The endpoint is no http or https URL");
    if (!credential) return localError("InvalidRequest", "There is no key pair to sign with");
    return uri;
  }

  Util::Outcome<Http::URI, Error> checked(const Http::URI& uri, std::string_view bucket) const {
    auto outcome = checked(uri);
    if (!outcome.isSuccess() || Http::URI::isPathSegment(bucket)) return outcome;
    return localError("InvalidRequest", "The bucket name is empty or a relative path");
  }

  using Listing = Util::Outcome<Model::ListObjectsV2Result, Error>;

  template <typename Parse>
  Listing listPage(const Model::ListObjectsV2Request& request, S3ListingPolicy& policy,
                   const Parse& parse) const;
  Listing listOnePage(const Model::ListObjectsV2Request& request);
  Listing listAllPages(Model::ListObjectsV2Request request);

  S3Service service() { return {endpoint, call, signer, regions, clock}; }

  bool hasEndpoint;
  S3Endpoint endpoint;
  std::shared_ptr<Auth::AWSAuthCredential> credential;
  S3RegionCache regions;
  S3Clock clock;
  Auth::AWSV4Signer signer;
  ServiceCall call;
};

S3Client::S3Client(const std::string& endpoint, const std::string& region,
                   std::shared_ptr<Auth::AWSAuthCredential> credential,
                   std::shared_ptr<RetryStrategy> retryStrategy,
                   std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                   std::shared_ptr<Util::RateLimiter> readRateLimiter,
                   std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                   std::shared_ptr<Util::Threading::Executor> executor, Config::ProxySetting proxy)
    : S3Client(endpoint, region,
               ClientParts{std::move(credential), std::move(retryStrategy),
                           std::move(errorMarshaller), std::move(readRateLimiter),
                           std::move(writeRateLimiter), std::move(executor), std::move(proxy)},
               ClientEnvironment{}) {}

S3Client::S3Client(const std::string& endpoint, const std::string& region, ClientParts parts,
                   ClientEnvironment environment)
    : WSClient(std::move(parts)),
      implementation_(std::make_unique<Implementation>(endpoint, region, this->parts(),
                                                       std::move(environment))) {}

S3Client::~S3Client() = default;

// Responses

namespace {

/// Failures are matched by code alone: compatible stores send the same code with different
/// statuses, even with 200.
constexpr ErrorRow kRows[] = {
    {kAnyStatus, "InvalidBucketName", CoreErrors::InvalidBucketName, Retry::ServerErrors},
    {kAnyStatus, "NoSuchBucket", CoreErrors::BucketNotFound, Retry::ServerErrors},
    {kAnyStatus, "BucketAlreadyExists", CoreErrors::BucketAlreadyExists, Retry::ServerErrors},
    {kAnyStatus, "BucketAlreadyOwnedByYou", CoreErrors::BucketAlreadyOwned, Retry::ServerErrors},
    {kAnyStatus, "TooManyBuckets", CoreErrors::TooManyBuckets, Retry::ServerErrors},
    {kAnyStatus, "InvalidLocationConstraint", CoreErrors::InvalidLocation, Retry::ServerErrors},
    {kAnyStatus, "QuotaExceeded", CoreErrors::QuotaExceeded, Retry::ServerErrors},
    {kAnyStatus, "NoSuchKey", CoreErrors::NotFound, Retry::ServerErrors},
    {kAnyStatus, "OperationAborted", CoreErrors::Conflict, Retry::Always},
    {kAnyStatus, "PreconditionFailed", CoreErrors::PreconditionFailed, Retry::ServerErrors},

    {kAnyStatus, "AccessDenied", CoreErrors::AccessDenied, Retry::ServerErrors},
    {kAnyStatus, "AllAccessDisabled", CoreErrors::AccessDenied, Retry::ServerErrors},
    {kAnyStatus, "MethodNotAllowed", CoreErrors::InvalidRequest, Retry::ServerErrors},
    {kAnyStatus, "InvalidAccessKeyId", CoreErrors::UnknownAccessKey, Retry::ServerErrors},
    {kAnyStatus, "SignatureDoesNotMatch", CoreErrors::SignatureMismatch, Retry::ServerErrors},
    {kAnyStatus, "RequestTimeTooSkewed", CoreErrors::ClockSkew, Retry::ServerErrors},
    {kAnyStatus, "ExpiredToken", CoreErrors::NotAuthenticated, Retry::ServerErrors},
    {kAnyStatus, "AccountProblem", CoreErrors::AccountProblem, Retry::ServerErrors},
    {kAnyStatus, "NotSignedUp", CoreErrors::AccountProblem, Retry::ServerErrors},
    {kAnyStatus, "AuthenticationLockout", CoreErrors::AccountProblem, Retry::ServerErrors},

    {kAnyStatus, "PermanentRedirect", CoreErrors::WrongRegion, Retry::ServerErrors},
    {kAnyStatus, "AuthorizationHeaderMalformed", CoreErrors::WrongRegion, Retry::ServerErrors},
    {kAnyStatus, "IllegalLocationConstraintException", CoreErrors::WrongRegion,
     Retry::ServerErrors},
    {kAnyStatus, "TemporaryRedirect", CoreErrors::Redirected, Retry::ServerErrors,
     FailureKind::WrongRegion},
    {kAnyStatus, "Redirect", CoreErrors::Redirected, Retry::ServerErrors, FailureKind::WrongRegion},
    {kAnyStatus, "Found", CoreErrors::Redirected, Retry::ServerErrors, FailureKind::WrongRegion},

    {kAnyStatus, "InvalidArgument", CoreErrors::InvalidRequest, Retry::ServerErrors},
    {kAnyStatus, "InvalidRequest", CoreErrors::InvalidRequest, Retry::ServerErrors},
    {kAnyStatus, "InvalidURI", CoreErrors::InvalidRequest, Retry::ServerErrors},
    {kAnyStatus, "MalformedXML", CoreErrors::InvalidRequest, Retry::ServerErrors},
    {kAnyStatus, "KeyTooLongError", CoreErrors::InvalidRequest, Retry::ServerErrors,
     FailureKind::NameNotAllowed},
    {kAnyStatus, "MissingContentLength", CoreErrors::InvalidRequest, Retry::ServerErrors},
    {kAnyStatus, "InvalidDigest", CoreErrors::InvalidRequest, Retry::ServerErrors},
    {kAnyStatus, "BadDigest", CoreErrors::InvalidRequest, Retry::ServerErrors},
    {kAnyStatus, "XAmzContentSHA256Mismatch", CoreErrors::InvalidRequest, Retry::ServerErrors},

    {kAnyStatus, "RequestTimeout", CoreErrors::Timeout, Retry::Always},
    {kAnyStatus, "SlowDown", CoreErrors::Throttled, Retry::ServerErrors},
    {kAnyStatus, "RequestRateLimitExceeded", CoreErrors::Throttled, Retry::ServerErrors},
    {kAnyStatus, "InternalError", CoreErrors::ServiceFailure, Retry::ServerErrors},
    {kAnyStatus, "ServiceUnavailable", CoreErrors::ServiceFailure, Retry::ServerErrors},
    {kAnyStatus, "Unavailable", CoreErrors::ServiceFailure, Retry::ServerErrors},
    {kAnyStatus, "NotImplemented", CoreErrors::NotImplemented, Retry::ServerErrors},

    {429, "", CoreErrors::Throttled, Retry::Never},
};

template <typename Result>
Util::Outcome<Result, Error> parseStored(Http::Response&& response) {
  return Client::parseStored<Result>(response, kRows);
}

}  // namespace

ErrorTable errorTable() { return kRows; }

Error S3ErrorMarshaller::marshall(const Http::Response& response, Http::Method method) const {
  const auto readMessage = [](const Http::Response& failed) { return readXmlError(failed.body); };
  return marshallError(response, method, readMessage, kRows);
}

// Buckets

namespace {

class ListBucketsRequest : public S3Request {
 public:
  std::string serializePayload() const override { return {}; }
};

// Typical bytes per bucket and buckets per listing, so that memory for the buckets is allocated
// once.
constexpr std::size_t kUsualBucketLength = 96;
constexpr std::size_t kMostBuckets = 10'000;  // the default limit of an account

Util::Outcome<Model::ListBucketsResult, Error> parseBuckets(Http::Response&& response) {
  const std::size_t size = response.body.size();
  const auto listing = asListing(takeXml(response), response, "ListAllMyBucketsResult", kRows);
  if (!listing.isSuccess()) return listing.getError();
  Xml::Document& document = *listing.getResult();

  const std::size_t most = mostEntriesOf(0);  // the service chooses the number
  std::size_t received = 0;
  Model::ListBucketsResult result;
  result.buckets.reserve(std::min(size / kUsualBucketLength, kMostBuckets));
  const auto list = Xml::lastChild(document.root(), "Buckets");
  for (auto node = list.first_child(); node; node = node.next_sibling()) {
    if (!Xml::isNamed(node, "Bucket")) continue;
    if (++received > most) return tooManyEntries(most);
    const std::string_view name = document.text(Xml::child(node, "Name"));
    if (name.empty()) continue;
    result.buckets.push_back({name, document.text(Xml::child(node, "CreationDate"))});
  }
  result.storage = document.storage();
  result.continuationToken = document.text(Xml::lastChild(document.root(), "ContinuationToken"));
  return result;
}

// A request without a location leaves the choice to the endpoint.
Model::BucketLocationConstraint locationOf(const Model::CreateBucketRequest& request) {
  const auto& location = request.createBucketConfiguration.value().locationConstraint;
  return request.createBucketConfiguration.isPresent() && location.isPresent()
             ? location.value()
             : Model::BucketLocationConstraint::Customized;
}

}  // namespace

Util::Outcome<Model::ListBucketsResult, Error> S3Client::listBuckets() const {
  return ListingExtent::noted(implementation_->call.run(
      "listBuckets", [&]() -> Util::Outcome<Model::ListBucketsResult, Error> {
        auto& own = *implementation_;
        S3EndpointPolicy policy(own.service(), own.regions.region(),
                                S3EndpointPolicy::RegionRecovery::AllCalls);
        return own.call.send(
            {"listBuckets", Http::Method::Get}, [&] { return own.checked(own.endpoint.base); },
            ListBucketsRequest(), policy, parseBuckets);
      }));
}

std::string Model::CreateBucketRequest::serializePayload() const {
  const auto& location = createBucketConfiguration.value().locationConstraint;
  if (!createBucketConfiguration.isPresent() || !location.isPresent()) return {};
  const std::string_view region = regionOf(location.value());
  if (region.empty()) return {};
  return R"(<?xml version="1.0" encoding="UTF-8"?>)"
         R"(<CreateBucketConfiguration xmlns="http://s3.amazonaws.com/doc/2006-03-01/">)"
         "<LocationConstraint>" +
         std::string(region) + "</LocationConstraint></CreateBucketConfiguration>";
}

Http::HeaderValueCollection Model::CreateBucketRequest::getRequestSpecificHeaders() const {
  if (serializePayload().empty()) return {};
  return {{Http::CONTENT_TYPE_HEADER, "application/xml"}};
}

Util::Outcome<Model::CreateBucketResult, Error> S3Client::createBucket(
    const Model::CreateBucketRequest& request) const {
  return implementation_->call.run(
      "createBucket", [&]() -> Util::Outcome<Model::CreateBucketResult, Error> {
        auto& own = *implementation_;
        const auto location = locationOf(request);
        const auto usable = own.checked(own.endpoint.base, request.bucket);
        if (!usable.isSuccess()) return usable.getError();
        if (!isLocation(location)) {
          return localError("InvalidRequest", "There is no location with this code");
        }

        auto target =
            createBucketTarget(own.endpoint, own.regions.region(), location, request.bucket);
        // Never if the body states a location: another region in the signature would contradict it.
        const auto recovery = regionOf(location).empty()
                                  ? S3EndpointPolicy::RegionRecovery::ThisCall
                                  : S3EndpointPolicy::RegionRecovery::Never;
        S3EndpointPolicy policy(own.service(), std::move(target.region), recovery);
        return own.call.send(
            {"createBucket", Http::Method::Put}, [&] { return target.uri; }, request, policy,
            parseStored<Model::CreateBucketResult>);
      });
}

// Objects

namespace {

using Listing = Util::Outcome<Model::ListObjectsV2Result, Error>;

Listing parseObjects(Http::Response&& response, std::size_t most, S3ObjectsReader::Reads reads,
                     S3ListingPolicy& policy) {
  XmlDocument received = takeXml(response);
  policy.setIsXml(received->status().getCode() != Xml::kNotXml);
  const auto listing = asListing(std::move(received), response, "ListBucketResult", kRows);
  if (!listing.isSuccess()) return listing.getError();
  Xml::Document& document = *listing.getResult();

  S3ObjectsReader reader(document, most, reads);
  for (auto node = document.root().first_child(); node; node = node.next_sibling()) {
    if (!reader.read(node)) return tooManyEntries(most);
  }
  return std::move(reader).result();
}

// `page`, unless it does not say how to continue: then keys would be missing silently.
// The service has been sent all of `tokens`: one of them again would begin a listing without end.
Listing checkedForMore(Listing page, const std::unordered_set<std::string>& tokens) {
  if (!page.isSuccess() || !page.getResult().isTruncated) return page;
  const std::string& next = page.getResult().nextContinuationToken;
  if (next.empty()) return malformedResponse("More keys follow, but not how to get them");
  if (tokens.count(next) != 0) return repeatedPage();
  return page;
}

}  // namespace

void Model::ListObjectsV2Request::addQueryStringParameters(Http::URI& uri) const {
  uri.addQueryStringParameter("list-type", "2");
  addUnlessEmpty(uri, "continuation-token", continuationToken);
  addIfPresent(uri, "delimiter", delimiter);
  addIfPresent(uri, "encoding-type", encodingType);
  addIfPresent(uri, "max-keys", maxKeys);
  addIfPresent(uri, "prefix", prefix);
  addIfPresent(uri, "start-after", startAfter);
  uri.sortQuery();  // in the signature's order, so that request and signature cannot differ
}

template <typename Parse>
Listing S3Client::Implementation::listPage(const Model::ListObjectsV2Request& request,
                                           S3ListingPolicy& policy, const Parse& parse) const {
  const std::string& bucket = request.bucket.value();
  return call.send(
      {"listObjectsV2", Http::Method::Get}, [&] { return checked(policy.uri(), bucket); }, request,
      policy, parse);
}

Listing S3Client::Implementation::listOnePage(const Model::ListObjectsV2Request& request) {
  S3ListingPolicy policy(service(), request.bucket.value());
  return listPage(request, policy, [&](Http::Response&& response) {
    return parseObjects(std::move(response), mostEntriesOf(request.maxKeys),
                        S3ObjectsReader::Reads::Everything, policy);
  });
}

Listing S3Client::Implementation::listAllPages(Model::ListObjectsV2Request request) {
  CallBudget ownBudget;
  if (request.budget == nullptr) request.budget = &ownBudget;  // which all pages share
  S3ListingPages pages;
  std::unordered_set<std::string> tokens;
  for (;;) {
    if (request.continuationToken.isPresent()) tokens.insert(request.continuationToken.value());
    S3ListingPolicy policy(service(), request.bucket.value());
    auto outcome = listPage(request, policy, [&](Http::Response&& response) {
      auto page = parseObjects(std::move(response), mostEntriesOf(request.maxKeys),
                               S3ObjectsReader::Reads::CommonPrefixes, policy);
      return checkedForMore(std::move(page), tokens);
    });
    if (!outcome.isSuccess()) return outcome;
    pages.add(outcome.getResult());
    if (!outcome.getResult().isTruncated) return std::move(pages).result();
    request.continuationToken = outcome.getResult().nextContinuationToken;
    // Keys that XML cannot represent may be on later pages, too.
    if (policy.hasRecoveredEncoding()) request.encodingType = "url";
  }
}

Listing S3Client::listObjectsV2(const Model::ListObjectsV2Request& request) const {
  auto& own = *implementation_;
  return ListingExtent::noted(own.call.run("listObjectsV2", [&]() -> Listing {
    return areListingsWhole() ? own.listAllPages(request) : own.listOnePage(request);
  }));
}

Util::Outcome<Model::PutObjectResult, Error> S3Client::putObject(
    const Model::PutObjectRequest& request) const {
  return implementation_->call.run(
      "putObject", [&]() -> Util::Outcome<Model::PutObjectResult, Error> {
        auto& own = *implementation_;
        S3BucketPolicy policy(own.service(), request.bucket, request.key.value());
        auto uri = own.checked(policy.uri(), request.bucket);
        if (uri.isSuccess() && request.key.value().empty()) {
          uri = localError("InvalidRequest", "The object key is empty");
        }
        return own.call.send(
            {"putObject", Http::Method::Put}, [&] { return uri; }, request, policy,
            parseStored<Model::PutObjectResult>);
      });
}

}  // namespace CloudStorage::Client::S3
