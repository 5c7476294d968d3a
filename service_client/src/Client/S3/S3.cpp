#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "Auth/AWSV4Signer.h"
#include "Client/ErrorMarshalling.h"
#include "Client/OptionalParameters.h"
#include "Client/S3/S3Addressing.h"
#include "Client/S3/S3RequestPolicy.h"
#include "Client/ServiceCall.h"
#include "Client/XmlResponse.h"
#include "CloudStorage/Client/S3/S3Client.h"
#include "Http/PercentEncoding.h"
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
    {kAnyStatus, "InvalidBucketName", CoreErrors::InvalidBucketName, Retry::Never},
    {kAnyStatus, "NoSuchBucket", CoreErrors::BucketNotFound, Retry::Never},
    {kAnyStatus, "BucketAlreadyExists", CoreErrors::BucketAlreadyExists, Retry::Never},
    {kAnyStatus, "BucketAlreadyOwnedByYou", CoreErrors::BucketAlreadyOwned, Retry::Never},
    {kAnyStatus, "TooManyBuckets", CoreErrors::TooManyBuckets, Retry::Never},
    {kAnyStatus, "InvalidLocationConstraint", CoreErrors::InvalidLocation, Retry::Never},
    {kAnyStatus, "QuotaExceeded", CoreErrors::QuotaExceeded, Retry::Never},
    {kAnyStatus, "NoSuchKey", CoreErrors::NotFound, Retry::Never},
    {kAnyStatus, "OperationAborted", CoreErrors::Conflict, Retry::Always},
    {kAnyStatus, "PreconditionFailed", CoreErrors::PreconditionFailed, Retry::Never},

    {kAnyStatus, "AccessDenied", CoreErrors::AccessDenied, Retry::Never},
    {kAnyStatus, "AllAccessDisabled", CoreErrors::AccessDenied, Retry::Never},
    {kAnyStatus, "MethodNotAllowed", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "InvalidAccessKeyId", CoreErrors::UnknownAccessKey, Retry::Never},
    {kAnyStatus, "SignatureDoesNotMatch", CoreErrors::SignatureMismatch, Retry::Never},
    {kAnyStatus, "RequestTimeTooSkewed", CoreErrors::ClockSkew, Retry::Never},
    {kAnyStatus, "ExpiredToken", CoreErrors::NotAuthenticated, Retry::Never},
    {kAnyStatus, "AccountProblem", CoreErrors::AccountProblem, Retry::Never},
    {kAnyStatus, "NotSignedUp", CoreErrors::AccountProblem, Retry::Never},
    {kAnyStatus, "AuthenticationLockout", CoreErrors::AccountProblem, Retry::Never},

    {kAnyStatus, "PermanentRedirect", CoreErrors::WrongRegion, Retry::Never},
    {kAnyStatus, "AuthorizationHeaderMalformed", CoreErrors::WrongRegion, Retry::Never},
    {kAnyStatus, "IllegalLocationConstraintException", CoreErrors::WrongRegion, Retry::Never},
    {kAnyStatus, "TemporaryRedirect", CoreErrors::Redirected, Retry::Never},
    {kAnyStatus, "Redirect", CoreErrors::Redirected, Retry::Never},
    {kAnyStatus, "Found", CoreErrors::Redirected, Retry::Never},

    {kAnyStatus, "InvalidArgument", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "InvalidRequest", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "InvalidURI", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "MalformedXML", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "KeyTooLongError", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "MissingContentLength", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "InvalidDigest", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "BadDigest", CoreErrors::InvalidRequest, Retry::Never},
    {kAnyStatus, "XAmzContentSHA256Mismatch", CoreErrors::InvalidRequest, Retry::Never},

    {kAnyStatus, "RequestTimeout", CoreErrors::Timeout, Retry::Always},
    {kAnyStatus, "SlowDown", CoreErrors::Throttled, Retry::Always},
    {kAnyStatus, "RequestRateLimitExceeded", CoreErrors::Throttled, Retry::Never},
    {kAnyStatus, "InternalError", CoreErrors::ServiceFailure, Retry::Always},
    {kAnyStatus, "ServiceUnavailable", CoreErrors::ServiceFailure, Retry::Always},
    {kAnyStatus, "Unavailable", CoreErrors::ServiceFailure, Retry::Always},
    {kAnyStatus, "NotImplemented", CoreErrors::NotImplemented, Retry::Always},

    {429, "", CoreErrors::Throttled, Retry::Never},
};

// Some stores send an error with a success status.
bool isError(pugi::xml_node root) {
  return Xml::isNamed(root, "Error") && !Xml::text(Xml::child(root, "Code")).empty();
}

Error errorIn(pugi::xml_node root, const Http::Response& response) {
  return responseError(
      response, Http::Method::Get,
      {Xml::text(Xml::child(root, "Code")), Xml::text(Xml::child(root, "Message"))}, kRows);
}

Util::Outcome<XmlDocument, Error> readListing(Http::Response&& response, const char* rootName) {
  auto document = readXml(std::move(response.body));
  if (!document.isSuccess()) return document;
  const auto root = document.getResult()->root();
  if (Xml::isNamed(root, rootName)) return document;
  if (isError(root)) return errorIn(root, response);
  return malformedResponse(std::string("The answer is no ") + rootName);
}

// Parses the response to a request that stores something. The services send no body, or one that is
// not needed. An HTML page comes from another source, such as the login page of a network.
template <typename Result>
Util::Outcome<Result, Error> parseStored(Http::Response&& response) {
  if (response.body.find_first_not_of(" \t\r\n") == std::string::npos) return Result();
  const auto document = readXml(std::move(response.body));
  if (!document.isSuccess()) return document.getError();
  const auto root = document.getResult()->root();
  if (Xml::isNamed(root, "html")) return malformedResponse("The answer is a page");
  if (isError(root)) return errorIn(root, response);
  return Result();
}

}  // namespace

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
  const auto listing = readListing(std::move(response), "ListAllMyBucketsResult");
  if (!listing.isSuccess()) return listing.getError();
  Xml::Document& document = *listing.getResult();

  Model::ListBucketsResult result;
  result.buckets.reserve(std::min(size / kUsualBucketLength, kMostBuckets));
  const auto list = Xml::child(document.root(), "Buckets");
  for (auto node = Xml::child(list, "Bucket"); node; node = Xml::nextSibling(node, "Bucket")) {
    result.buckets.push_back(
        {document.text(Xml::child(node, "Name")), document.text(Xml::child(node, "CreationDate"))});
    if (result.buckets.back().name.empty()) {
      return malformedResponse("A bucket in the answer has no name");
    }
  }
  result.storage = document.storage();
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
  return ServiceCall::guarded([&]() -> Util::Outcome<Model::ListBucketsResult, Error> {
    auto& own = *implementation_;
    S3EndpointPolicy policy(own.service(), own.regions.region(),
                            S3EndpointPolicy::RegionRecovery::AllCalls);
    return own.call.send(
        Http::Method::Get, [&] { return own.checked(own.endpoint.base); }, ListBucketsRequest(),
        policy, parseBuckets);
  });
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
  return ServiceCall::guarded([&]() -> Util::Outcome<Model::CreateBucketResult, Error> {
    auto& own = *implementation_;
    const auto location = locationOf(request);
    const auto usable = own.checked(own.endpoint.base, request.bucket);
    if (!usable.isSuccess()) return usable.getError();
    if (!isLocation(location)) {
      return localError("InvalidRequest", "There is no location with this code");
    }

    auto target = createBucketTarget(own.endpoint, own.regions.region(), location, request.bucket);
    // Never if the body states a location: another region in the signature would contradict it.
    const auto recovery = regionOf(location).empty() ? S3EndpointPolicy::RegionRecovery::ThisCall
                                                     : S3EndpointPolicy::RegionRecovery::Never;
    S3EndpointPolicy policy(own.service(), std::move(target.region), recovery);
    return own.call.send(
        Http::Method::Put, [&] { return target.uri; }, request, policy,
        parseStored<Model::CreateBucketResult>);
  });
}

// Objects

namespace {

// With `encoding-type=url` a plus sign is a space.
std::string_view decodeKey(Xml::Document& document, std::string_view text) {
  std::string encoded(text);
  std::replace(encoded.begin(), encoded.end(), '+', ' ');
  return document.replace(text, Http::uriDecode(encoded));
}

bool hasNul(std::string_view text) { return text.find('\0') != std::string_view::npos; }

Model::Object readObject(Xml::Document& document, pugi::xml_node node) {
  return {document.text(Xml::child(node, "Key")), document.text(Xml::child(node, "LastModified")),
          document.text(Xml::child(node, "ETag")), document.text(Xml::child(node, "Size")),
          document.text(Xml::child(node, "StorageClass"))};
}

void readPrefixes(Xml::Document& document, pugi::xml_node group,
                  Model::ListObjectsV2Result& result) {
  for (auto node = group.first_child(); node; node = node.next_sibling()) {
    if (Xml::isNamed(node, "Prefix")) result.commonPrefixes.push_back(document.text(node));
  }
}

void decodeKeys(Xml::Document& document, Model::ListObjectsV2Result& result) {
  for (auto& object : result.objects) object.key = decodeKey(document, object.key);
  for (auto& prefix : result.commonPrefixes) prefix = decodeKey(document, prefix);
}

Util::Outcome<Model::ListObjectsV2Result, Error> parseObjects(Http::Response&& response) {
  const auto listing = readListing(std::move(response), "ListBucketResult");
  if (!listing.isSuccess()) return listing.getError();
  Xml::Document& document = *listing.getResult();

  Model::ListObjectsV2Result result;
  // Stores that do not support the parameter neither encode keys nor send this element. It is found
  // in the same pass, because a separate search among a thousand siblings is expensive.
  bool isEncoded = false;
  for (auto node = document.root().first_child(); node; node = node.next_sibling()) {
    if (Xml::isNamed(node, "CommonPrefixes")) {
      readPrefixes(document, node, result);
    } else if (Xml::isNamed(node, "Contents")) {
      result.objects.push_back(readObject(document, node));
    } else if (Xml::isNamed(node, "EncodingType")) {
      isEncoded = document.text(node) == "url";
    }
  }
  if (isEncoded) decodeKeys(document, result);
  // As a C string such a prefix would be truncated and denote another folder.
  if (isEncoded &&
      std::any_of(result.commonPrefixes.begin(), result.commonPrefixes.end(), hasNul)) {
    return malformedResponse("A prefix in the answer holds a byte of value 0");
  }
  result.storage = document.storage();
  return result;
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

Util::Outcome<Model::ListObjectsV2Result, Error> S3Client::listObjectsV2(
    const Model::ListObjectsV2Request& request) const {
  return ServiceCall::guarded([&]() -> Util::Outcome<Model::ListObjectsV2Result, Error> {
    auto& own = *implementation_;
    const std::string& bucket = request.bucket.value();
    S3BucketPolicy policy(own.service(), bucket);
    return own.call.send(
        Http::Method::Get, [&] { return own.checked(policy.uri(), bucket); }, request, policy,
        parseObjects);
  });
}

Util::Outcome<Model::PutObjectResult, Error> S3Client::putObject(
    const Model::PutObjectRequest& request) const {
  return ServiceCall::guarded([&]() -> Util::Outcome<Model::PutObjectResult, Error> {
    auto& own = *implementation_;
    S3BucketPolicy policy(own.service(), request.bucket, request.key.value());
    auto uri = own.checked(policy.uri(), request.bucket);
    if (uri.isSuccess() && request.key.value().empty()) {
      uri = localError("InvalidRequest", "The object key is empty");
    }
    return own.call.send(
        Http::Method::Put, [&] { return uri; }, request, policy,
        parseStored<Model::PutObjectResult>);
  });
}

}  // namespace CloudStorage::Client::S3
