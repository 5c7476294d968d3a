#include "stand_in_layer.h"

#include <stdexcept>
#include <utility>

#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "CloudStorage/Client/S3/S3Client.h"
#include "CloudStorage/Config/ConnectionGenericSetting.h"
#include "CloudStorage/Util/Threading/DefaultExecutor.h"

namespace StandIn {

CloudStorage::Client::ClientParts notedParts(
    const std::string& clientName,
    std::shared_ptr<CloudStorage::Auth::AuthorizationCredential> credential) {
  journal().calls.emplace_back(clientName);
  journal().credential = credential;
  if (journal().clientConstructorsThrow) throw std::runtime_error("no such client today");
  CloudStorage::Client::ClientParts parts;
  parts.credential = std::move(credential);
  return parts;
}

CloudStorage::Client::Error failure() {
  return {CloudStorage::Client::CoreErrors::AccessDenied, "StandIn", "as told", {}, false, 403};
}

void throwIfTold() {
  if (journal().operationsThrow) throw std::runtime_error("not today");
}

Journal& journal() {
  static Journal instance;
  return instance;
}

void reset() { journal() = {}; }

}  // namespace StandIn

namespace CloudStorage {

using StandIn::journal;
using StandIn::perform;

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
                   std::shared_ptr<RetryStrategy>, std::shared_ptr<WSErrorMarshaller>,
                   std::shared_ptr<Util::RateLimiter>, std::shared_ptr<Util::RateLimiter>,
                   std::shared_ptr<Util::Threading::Executor>, Config::ProxySetting)
    : WSClient(StandIn::notedParts("S3Client", std::move(credential))) {
  journal().firstClientString = endpoint;
  journal().secondClientString = region;
}

S3Client::~S3Client() { journal().calls.emplace_back("~S3Client"); }

Util::Outcome<Model::ListBucketsResult, Error> S3Client::listBuckets() const {
  return perform("listBuckets", Model::ListBucketsResult{{{"one", ""}, {"two", ""}}});
}

Util::Outcome<Model::CreateBucketResult, Error> S3Client::createBucket(
    const Model::CreateBucketRequest& request) const {
  return perform("createBucket " + request.bucket, Model::CreateBucketResult{});
}

Util::Outcome<Model::ListObjectsV2Result, Error> S3Client::listObjectsV2(
    const Model::ListObjectsV2Request& request) const {
  Model::ListObjectsV2Result result;
  result.commonPrefixes = {"one/", "two/"};
  return perform("listObjectsV2 " + request.bucket.value(), std::move(result));
}

Util::Outcome<Model::PutObjectResult, Error> S3Client::putObject(
    const Model::PutObjectRequest& request) const {
  return perform("putObject " + request.key.value(), Model::PutObjectResult{});
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
    : WSClient(StandIn::notedParts("AzureSSBClient", std::move(authentication))),
      accountName_(std::move(accountName)),
      region_(region) {}

AzureSSBClient::~AzureSSBClient() = default;

Region AzureSSBClient::getRegionForName(const std::string& regionName) {
  journal().calls.emplace_back("getRegionForName " + regionName);
  return Region::Global;
}

Util::Outcome<Model::ListContainerResult, Error> AzureSSBClient::listContainer(
    const Model::ListContainerRequest&) const {
  Model::ListContainerResult result;
  result.containers = {{"one", "", ""}, {"two", "", ""}};
  return perform("listContainer", std::move(result));
}

Util::Outcome<Model::CreateContainerResult, Error> AzureSSBClient::createContainer(
    const Model::CreateContainerRequest& request) const {
  return perform("createContainer " + request.container, Model::CreateContainerResult{});
}

Util::Outcome<Model::ListBlobResult, Error> AzureSSBClient::listBlob(
    const Model::ListBlobRequest& request) const {
  Model::ListBlobResult result;
  result.blobPrefixes = {{"one/"}, {"two/"}};
  return perform("listBlob " + request.container.value(), std::move(result));
}

Util::Outcome<Model::PutBlobResult, Error> AzureSSBClient::putBlob(
    const Model::PutBlobRequest& request) const {
  return perform("putBlob " + request.blob.value(), Model::PutBlobResult{});
}

void Model::ListContainerRequest::addQueryStringParameters(Http::URI&) const {}
void Model::CreateContainerRequest::addQueryStringParameters(Http::URI&) const {}
void Model::ListBlobRequest::addQueryStringParameters(Http::URI&) const {}
Http::HeaderValueCollection Model::PutBlobRequest::getRequestSpecificHeaders() const { return {}; }

Error AzureSSBErrorMarshaller::marshall(const Http::Response&, Http::Method) const { return {}; }

}  // namespace AzureSSB

}  // namespace Client
}  // namespace CloudStorage
