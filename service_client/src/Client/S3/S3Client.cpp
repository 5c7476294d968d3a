#include "CloudStorage/Client/S3/S3Client.h"

#include <optional>
#include <string_view>
#include <utility>

#include "Auth/AWSV4Signer.h"
#include "Client/ErrorMarshalling.h"
#include "Client/S3/S3Addressing.h"
#include "Client/S3/S3Answers.h"
#include "Client/S3/S3Conduct.h"
#include "Client/ServiceCall.h"

namespace CloudStorage::Client::S3 {
namespace {

/// Lists the account's buckets; there is nothing to say about it.
class ListBucketsRequest : public S3Request {
 public:
  std::string serializePayload() const override { return {}; }
};

template <typename Result>
std::optional<Error> parseNothing(Http::Response& response, Result& /*result*/) {
  return checkStored(response);
}

// In a path any other would address something else, such as the list of buckets.
bool isAddressable(std::string_view bucket) {
  return !bucket.empty() && bucket != "." && bucket != "..";
}

Error unusableBucketName() {
  return localError("InvalidRequest", "The bucket name is empty or a relative path");
}

// A request that names no location leaves the choice to the endpoint.
Model::BucketLocationConstraint locationOf(const Model::CreateBucketRequest& request) {
  const auto& location = request.createBucketConfiguration.value().locationConstraint;
  return request.createBucketConfiguration.isPresent() && location.isPresent()
             ? location.value()
             : Model::BucketLocationConstraint::Customized;
}

// Why no request can be made from these; empty if nothing is wrong with them.
std::optional<Error> findFault(const std::optional<S3Endpoint>& endpoint,
                               const Auth::AWSAuthCredential* credential) {
  if (!endpoint) return localError("InvalidRequest", "The endpoint is no http or https URL");
  if (credential == nullptr)
    return localError("InvalidRequest", "There is no key pair to sign with");
  return std::nullopt;
}

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
                 const std::shared_ptr<Auth::AWSAuthCredential>& credential,
                 const ClientParts& parts, ClientEnvironment environment)
      : fault(findFault(parsed, credential.get())),
        endpoint(parsed.value_or(S3Endpoint())),
        knowledge(sessionRegion(region, endpoint, credential.get())),
        signer(credential),
        call(parts, std::move(environment)) {}

  S3Service service() { return {endpoint, call, signer, knowledge}; }

  std::optional<Error> fault;  // fails every request
  S3Endpoint endpoint;
  S3Knowledge knowledge;
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

Util::Outcome<Model::ListBucketsResult, Error> S3Client::listBuckets() const {
  auto& own = *implementation_;
  if (own.fault) return *own.fault;
  S3EndpointConduct conduct(own.service(), own.knowledge.region(),
                            S3EndpointConduct::RegionCorrection::AllCalls);
  return own.call.send<Model::ListBucketsResult>(Http::Method::Get, own.endpoint.base,
                                                 ListBucketsRequest(), conduct, parseBucketList);
}

Util::Outcome<Model::CreateBucketResult, Error> S3Client::createBucket(
    const Model::CreateBucketRequest& request) const {
  auto& own = *implementation_;
  if (own.fault) return *own.fault;
  if (!isAddressable(request.bucket)) return unusableBucketName();
  const auto location = locationOf(request);
  if (!isLocation(location)) {
    return localError("InvalidRequest", "There is no location with this code");
  }

  auto target = createBucketTarget(own.endpoint, own.knowledge.region(), location, request.bucket);
  // A location in the body and another region in the signature would contradict each other.
  const auto correction = regionOf(location).empty() ? S3EndpointConduct::RegionCorrection::ThisCall
                                                     : S3EndpointConduct::RegionCorrection::Never;
  S3EndpointConduct conduct(own.service(), std::move(target.region), correction);
  return own.call.send<Model::CreateBucketResult>(Http::Method::Put, target.uri, request, conduct,
                                                  parseNothing);
}

Util::Outcome<Model::ListObjectsV2Result, Error> S3Client::listObjectsV2(
    const Model::ListObjectsV2Request& request) const {
  auto& own = *implementation_;
  if (own.fault) return *own.fault;
  if (!isAddressable(request.bucket.value())) return unusableBucketName();

  S3BucketConduct conduct(own.service(), request.bucket.value());
  return own.call.send<Model::ListObjectsV2Result>(Http::Method::Get, conduct.uri(), request,
                                                   conduct, parseObjectList);
}

Util::Outcome<Model::PutObjectResult, Error> S3Client::putObject(
    const Model::PutObjectRequest& request) const {
  auto& own = *implementation_;
  if (own.fault) return *own.fault;
  if (!isAddressable(request.bucket)) return unusableBucketName();
  if (request.key.value().empty()) return localError("InvalidRequest", "The object key is empty");

  S3BucketConduct conduct(own.service(), request.bucket, request.key.value());
  return own.call.send<Model::PutObjectResult>(Http::Method::Put, conduct.uri(), request, conduct,
                                               parseNothing);
}

}  // namespace CloudStorage::Client::S3
