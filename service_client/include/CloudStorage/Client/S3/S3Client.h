#pragma once

#include <memory>
#include <string>

#include "CloudStorage/Auth/AWSAuthCredential.h"
#include "CloudStorage/Client/S3/Model/CreateBucketRequest.h"
#include "CloudStorage/Client/S3/Model/CreateBucketResult.h"
#include "CloudStorage/Client/S3/Model/ListBucketsResult.h"
#include "CloudStorage/Client/S3/Model/ListObjectsV2Request.h"
#include "CloudStorage/Client/S3/Model/ListObjectsV2Result.h"
#include "CloudStorage/Client/S3/Model/PutObjectRequest.h"
#include "CloudStorage/Client/S3/Model/PutObjectResult.h"
#include "CloudStorage/Client/WSClient.h"
#include "CloudStorage/Util/Outcome.h"

namespace CloudStorage::Client::S3 {

/// Amazon S3 and the stores that speak its protocol.
class CLOUDSTORAGE_API S3Client : public WSClient {
 public:
  /// `endpoint` is `[http[s]://]host[:port][/base]`, without a scheme https; empty stands for
  /// https://s3.amazonaws.com. `region` is what requests are signed for; if empty it is derived
  /// from an endpoint that names its region, else it is the credential's. Does not throw and does
  /// not connect: an unusable endpoint fails the first request.
  S3Client(const std::string& endpoint, const std::string& region,
           std::shared_ptr<Auth::AWSAuthCredential> credential,
           std::shared_ptr<RetryStrategy> retryStrategy,
           std::shared_ptr<WSErrorMarshaller> errorMarshaller,
           std::shared_ptr<Util::RateLimiter> readRateLimiter,
           std::shared_ptr<Util::RateLimiter> writeRateLimiter,
           std::shared_ptr<Util::Threading::Executor> executor, Config::ProxySetting proxy);
  S3Client(const std::string& endpoint, const std::string& region, ClientParts parts,
           ClientEnvironment environment);
  ~S3Client() override;

  /// All buckets of the account in one request.
  virtual Util::Outcome<Model::ListBucketsResult, Error> listBuckets() const;
  virtual Util::Outcome<Model::CreateBucketResult, Error> createBucket(
      const Model::CreateBucketRequest& request) const;
  /// One page. A bucket in another region than the session's is found by itself, and remembered.
  virtual Util::Outcome<Model::ListObjectsV2Result, Error> listObjectsV2(
      const Model::ListObjectsV2Request& request) const;
  virtual Util::Outcome<Model::PutObjectResult, Error> putObject(
      const Model::PutObjectRequest& request) const;

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

}  // namespace CloudStorage::Client::S3
