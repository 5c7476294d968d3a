#include "CloudStorage/Client/S3/S3Client.h"

#include <optional>
#include <utility>

#include "Auth/AWSV4Signer.h"
#include "Client/ErrorMarshalling.h"
#include "Client/S3/S3Addressing.h"
#include "Client/S3/S3Conduct.h"
#include "Client/ServiceCall.h"
#include "Http/CurlTransport.h"
#include "Util/Xml.h"

namespace CloudStorage::Client::S3 {
namespace {

/// Lists the account's buckets; there is nothing to say about it.
class ListBucketsRequest : public S3Request {
 public:
  std::string serializePayload() const override { return {}; }
};

// Some stores answer an error with a success status.
std::optional<Error> checkRoot(pugi::xml_node root, const char* expected) {
  if (Util::Xml::isNamed(root, expected)) return std::nullopt;
  const std::string code = Util::Xml::text(Util::Xml::child(root, "Code"));
  if (!Util::Xml::isNamed(root, "Error") || code.empty()) {
    return localError("MalformedResponse", std::string("The answer is no ") + expected);
  }
  Error error = localError(code, Util::Xml::text(Util::Xml::child(root, "Message")));
  error.errorType = CoreErrors::Rejected;
  return error;
}

std::optional<Error> parseBucketList(Http::Response& response, Model::ListBucketsResult& result) {
  pugi::xml_document document;
  const auto parsed = Util::Xml::parse(response.body, document);
  if (!parsed.isSuccess()) return localError("MalformedResponse", parsed.toString());
  const auto root = document.document_element();
  if (auto error = checkRoot(root, "ListAllMyBucketsResult")) return error;

  auto node = Util::Xml::child(Util::Xml::child(root, "Buckets"), "Bucket");
  for (; node; node = Util::Xml::nextSibling(node, "Bucket")) {
    result.buckets.push_back({Util::Xml::text(Util::Xml::child(node, "Name")),
                              Util::Xml::text(Util::Xml::child(node, "CreationDate"))});
  }
  return std::nullopt;
}

// The services answer with nothing. What else comes is an error, or a page of somebody on the way.
std::optional<Error> parseCreation(Http::Response& response,
                                   Model::CreateBucketResult& /*result*/) {
  if (response.body.empty()) return std::nullopt;
  pugi::xml_document document;
  const auto parsed = Util::Xml::parse(response.body, document);
  if (!parsed.isSuccess()) return localError("MalformedResponse", parsed.toString());
  return checkRoot(document.document_element(), "CreateBucketResult");
}

Error unusableEndpoint() {
  return localError("InvalidRequest", "The endpoint is no http or https URL");
}

// A request that names no location leaves the choice to the endpoint.
Model::BucketLocationConstraint locationOf(const Model::CreateBucketRequest& request) {
  const auto& location = request.createBucketConfiguration.value().locationConstraint;
  return request.createBucketConfiguration.isPresent() && location.isPresent()
             ? location.value()
             : Model::BucketLocationConstraint::Customized;
}

std::shared_ptr<const Auth::AWSAuthCredential> credentialOf(const ClientParts& parts) {
  auto credential = std::dynamic_pointer_cast<Auth::AWSAuthCredential>(parts.credential);
  if (credential) return credential;
  return std::make_shared<Auth::AWSAuthCredential>("", "", "s3",
                                                   Auth::AWSAuthCredential::DEFAULT_GLOBAL_REGION);
}

std::string sessionRegion(const std::string& given, const std::optional<S3Endpoint>& endpoint,
                          const Auth::AWSAuthCredential& credential) {
  if (!given.empty()) return given;
  return endpoint && !endpoint->region.empty() ? endpoint->region : credential.region();
}

ClientEnvironment withTransport(ClientEnvironment environment, const Config::ProxySetting& proxy) {
  if (!environment.transport) {
    Http::CurlTransport::Options options;
    options.proxy = proxy;
    environment.transport = std::make_shared<Http::CurlTransport>(std::move(options));
  }
  return environment;
}

}  // namespace

struct S3Client::Implementation {
  Implementation(const std::string& endpointText, const std::string& region,
                 const ClientParts& parts, ClientEnvironment environment)
      : endpoint(parseEndpoint(endpointText)),
        knowledge(sessionRegion(region, endpoint, *credentialOf(parts))),
        signer(credentialOf(parts)),
        call(parts, withTransport(std::move(environment), parts.proxy)) {}

  S3Conduct conduct(std::string region, S3Conduct::RegionCorrection correction) {
    return {{*endpoint, call, signer, knowledge}, std::move(region), correction};
  }

  std::optional<S3Endpoint> endpoint;  // empty if what the host gave is no URL
  S3Knowledge knowledge;
  Auth::AWSV4Signer signer;
  ServiceCall call;
};

S3Client::S3Client(std::string endpoint, std::string region,
                   std::shared_ptr<Auth::AWSAuthCredential> credential,
                   std::shared_ptr<RetryStrategy> retryStrategy,
                   std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                   std::shared_ptr<Util::RateLimiter> readRateLimiter,
                   std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                   std::shared_ptr<Util::Threading::Executor> executor, Config::ProxySetting proxy)
    : S3Client(std::move(endpoint), std::move(region),
               ClientParts{std::move(credential), std::move(retryStrategy),
                           std::move(errorMarshaller), std::move(readRateLimiter),
                           std::move(writeRateLimiter), std::move(executor), std::move(proxy)},
               ClientEnvironment{}) {}

S3Client::S3Client(std::string endpoint, std::string region, ClientParts parts,
                   ClientEnvironment environment)
    : WSClient(std::move(parts)),
      implementation_(std::make_unique<Implementation>(endpoint, region, this->parts(),
                                                       std::move(environment))) {}

S3Client::~S3Client() = default;

Util::Outcome<Model::ListBucketsResult, Error> S3Client::listBuckets() const {
  auto& own = *implementation_;
  if (!own.endpoint) return unusableEndpoint();
  auto conduct = own.conduct(own.knowledge.region(), S3Conduct::RegionCorrection::AllCalls);
  return own.call.send<Model::ListBucketsResult>(Http::Method::Get, own.endpoint->base,
                                                 ListBucketsRequest(), conduct, parseBucketList);
}

Util::Outcome<Model::CreateBucketResult, Error> S3Client::createBucket(
    const Model::CreateBucketRequest& request) const {
  auto& own = *implementation_;
  if (!own.endpoint) return unusableEndpoint();
  if (request.bucket.empty()) return localError("InvalidRequest", "The bucket name is empty");
  const auto location = locationOf(request);
  if (!isLocation(location)) {
    return localError("InvalidRequest", "There is no location with this code");
  }

  auto target = createBucketTarget(*own.endpoint, own.knowledge.region(), location, request.bucket);
  // A location in the body and another region in the signature would contradict each other.
  auto conduct = own.conduct(std::move(target.region), regionOf(location).empty()
                                                           ? S3Conduct::RegionCorrection::ThisCall
                                                           : S3Conduct::RegionCorrection::Never);
  return own.call.send<Model::CreateBucketResult>(Http::Method::Put, target.uri, request, conduct,
                                                  parseCreation);
}

}  // namespace CloudStorage::Client::S3
