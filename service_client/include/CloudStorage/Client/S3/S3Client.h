#pragma once

#include <memory>
#include <string>

#include "CloudStorage/Auth/AWSAuthCredential.h"
#include "CloudStorage/Client/S3/Model.h"
#include "CloudStorage/Client/WSClient.h"
#include "CloudStorage/Util/Outcome.h"

namespace CloudStorage::Client::S3 {

/// Amazon S3 and compatible stores.
class CLOUDSTORAGE_API S3Client : public WSClient {
 public:
  /// `endpoint` has the form `[http[s]://]host[:port][/base]`. The default scheme is https, and an
  /// empty endpoint means https://s3.amazonaws.com. Requests are signed for `region`; if it is
  /// empty, for the region that the endpoint's host names, and otherwise for the credential's
  /// region. Does not throw and does not connect: an unusable endpoint fails the first request.
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
  /// One page; or the common prefixes of all pages, each once, if the host wants whole listings
  /// (vemlo_client_set_whole_s3_listings). If the bucket is not in the session's region, finds its
  /// region and caches it.
  virtual Util::Outcome<Model::ListObjectsV2Result, Error> listObjectsV2(
      const Model::ListObjectsV2Request& request) const;
  virtual Util::Outcome<Model::PutObjectResult, Error> putObject(
      const Model::PutObjectRequest& request) const;

 private:
  struct Implementation;
  std::unique_ptr<Implementation> implementation_;
};

/// Translates the failures of S3 and compatible stores, which are XML or have no body.
class CLOUDSTORAGE_API S3ErrorMarshaller : public WSErrorMarshaller {
 public:
  Service service() const override { return Service::S3; }
  Error marshall(const Http::Response& response, Http::Method method) const override;
};

}  // namespace CloudStorage::Client::S3
