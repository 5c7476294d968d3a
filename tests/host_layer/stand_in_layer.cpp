#include "stand_in_layer.h"

#include <stdexcept>
#include <utility>

#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "CloudStorage/Client/AzureSSB/AzureSSBErrorMarshaller.h"
#include "CloudStorage/Client/S3/S3ErrorMarshaller.h"
#include "CloudStorage/Config/ConnectionGenericSetting.h"
#include "CloudStorage/Util/Threading/DefaultExecutor.h"

namespace StandIn {

void noteClient(const char* name,
                std::weak_ptr<CloudStorage::Auth::AuthorizationCredential> credential) {
  journal().calls.emplace_back(name);
  journal().credential = std::move(credential);
  if (journal().clientConstructorsThrow) throw std::runtime_error("no such client today");
}

CloudStorage::Client::Error failure() {
  return {CloudStorage::Client::CoreErrors::AccessDenied, "StandIn", "as told", {}, false, 403};
}

Journal& journal() {
  static Journal instance;
  return instance;
}

void reset() { journal() = {}; }

}  // namespace StandIn

namespace CloudStorage {

using StandIn::journal;

const char Config::ConnectionGenericSetting::CIPHER[] = "aes-256-cbc";
const char Config::ConnectionGenericSetting::SALT[] = "the host's own";

bool Util::Threading::DefaultExecutor::submit(std::function<void()> task) {
  task();
  return true;
}

namespace Auth {

AuthorizationCredential::~AuthorizationCredential() = default;

const char AWSAuthCredential::DEFAULT_GLOBAL_REGION[] = "somewhere";
AWSAuthCredential::~AWSAuthCredential() = default;

AzureSSBAuthentication::~AzureSSBAuthentication() = default;

bool AzureSSBAuthentication::decodeAccessKey() {
  journal().calls.emplace_back("decodeAccessKey");
  return accessKey_ == "good";
}

}  // namespace Auth

namespace Client {

namespace S3 {

struct S3Client::Implementation {};

S3Client::S3Client(const std::string& endpoint, const std::string& region,
                   std::shared_ptr<Auth::AWSAuthCredential> credential,
                   std::shared_ptr<RetryStrategy> retryStrategy,
                   std::shared_ptr<WSErrorMarshaller> errorMarshaller,
                   std::shared_ptr<Util::RateLimiter> readRateLimiter,
                   std::shared_ptr<Util::RateLimiter> writeRateLimiter,
                   std::shared_ptr<Util::Threading::Executor> executor, Config::ProxySetting proxy)
    : WSClient({std::move(credential), std::move(retryStrategy), std::move(errorMarshaller),
                std::move(readRateLimiter), std::move(writeRateLimiter), std::move(executor),
                std::move(proxy)}) {
  journal().firstClientString = endpoint;
  journal().secondClientString = region;
  StandIn::noteClient("S3Client", this->credential());
}

S3Client::~S3Client() { journal().calls.emplace_back("~S3Client"); }

Util::Outcome<Model::ListBucketsResult, Error> S3Client::listBuckets() const {
  journal().calls.emplace_back("listBuckets");
  if (journal().operationsFail) return StandIn::failure();
  return Model::ListBucketsResult{{{"one", ""}, {"two", ""}}};
}

Util::Outcome<Model::CreateBucketResult, Error> S3Client::createBucket(
    const Model::CreateBucketRequest& request) const {
  journal().calls.emplace_back("createBucket " + request.bucket);
  if (journal().operationsFail) return StandIn::failure();
  return Model::CreateBucketResult{};
}

Util::Outcome<Model::ListObjectsV2Result, Error> S3Client::listObjectsV2(
    const Model::ListObjectsV2Request& request) const {
  journal().calls.emplace_back("listObjectsV2 " + request.bucket.value());
  if (journal().operationsFail) return StandIn::failure();
  Model::ListObjectsV2Result result;
  result.commonPrefixes = {"one/", "two/"};
  return result;
}

Util::Outcome<Model::PutObjectResult, Error> S3Client::putObject(
    const Model::PutObjectRequest& request) const {
  journal().calls.emplace_back("putObject " + request.key.value());
  if (journal().operationsFail) return StandIn::failure();
  return Model::PutObjectResult{};
}

void Model::ListObjectsV2Request::addQueryStringParameters(Http::URI&) const {}
std::string Model::CreateBucketRequest::serializePayload() const { return {}; }
Http::HeaderValueCollection Model::CreateBucketRequest::getRequestSpecificHeaders() const {
  return {};
}

Error S3ErrorMarshaller::marshall(const Http::Response&, Http::Method) const { return {}; }

}  // namespace S3

namespace AzureSSB {

struct AzureSSBClient::Implementation {};

AzureSSBClient::AzureSSBClient(std::string accountName,
                               std::shared_ptr<Auth::AzureSSBAuthentication> authentication,
                               std::shared_ptr<RetryStrategy>, std::shared_ptr<WSErrorMarshaller>,
                               std::shared_ptr<Util::RateLimiter>,
                               std::shared_ptr<Util::RateLimiter>,
                               std::shared_ptr<Util::Threading::Executor>, Config::ProxySetting,
                               Region region)
    : WSClient({}), accountName_(std::move(accountName)), region_(region) {
  StandIn::noteClient("AzureSSBClient", authentication);
}

AzureSSBClient::~AzureSSBClient() = default;

Region AzureSSBClient::getRegionForName(const std::string& regionName) {
  journal().calls.emplace_back("getRegionForName " + regionName);
  return Region::Global;
}

Util::Outcome<Model::ListContainerResult, Error> AzureSSBClient::listContainer(
    const Model::ListContainerRequest&) const {
  journal().calls.emplace_back("listContainer");
  if (journal().operationsFail) return StandIn::failure();
  Model::ListContainerResult result;
  result.containers = {{"one", "", ""}, {"two", "", ""}};
  return result;
}

Util::Outcome<Model::CreateContainerResult, Error> AzureSSBClient::createContainer(
    const Model::CreateContainerRequest& request) const {
  journal().calls.emplace_back("createContainer " + request.container);
  if (journal().operationsFail) return StandIn::failure();
  return Model::CreateContainerResult{};
}

Util::Outcome<Model::ListBlobResult, Error> AzureSSBClient::listBlob(
    const Model::ListBlobRequest& request) const {
  journal().calls.emplace_back("listBlob " + request.container.value());
  if (journal().operationsFail) return StandIn::failure();
  Model::ListBlobResult result;
  result.blobPrefixes = {{"one/"}, {"two/"}};
  return result;
}

Util::Outcome<Model::PutBlobResult, Error> AzureSSBClient::putBlob(
    const Model::PutBlobRequest& request) const {
  journal().calls.emplace_back("putBlob " + request.blob.value());
  if (journal().operationsFail) return StandIn::failure();
  return Model::PutBlobResult{};
}

void Model::ListContainerRequest::addQueryStringParameters(Http::URI&) const {}
void Model::CreateContainerRequest::addQueryStringParameters(Http::URI&) const {}
void Model::ListBlobRequest::addQueryStringParameters(Http::URI&) const {}
Http::HeaderValueCollection Model::PutBlobRequest::getRequestSpecificHeaders() const { return {}; }

Error AzureSSBErrorMarshaller::marshall(const Http::Response&, Http::Method) const { return {}; }

}  // namespace AzureSSB

}  // namespace Client
}  // namespace CloudStorage
