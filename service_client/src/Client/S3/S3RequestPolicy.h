#pragma once

#include <atomic>
#include <chrono>
#include <string>
#include <utility>
#include <vector>

#include "Auth/AWSV4Signer.h"
#include "Client/S3/S3Addressing.h"
#include "Client/S3/S3RegionCache.h"
#include "Client/ServiceCall.h"

namespace CloudStorage::Client::S3 {

/// The offset of the service's clock to the local clock. Safe for concurrent use.
class S3Clock {
 public:
  std::chrono::seconds offset() const { return std::chrono::seconds(offset_.load()); }
  void setOffset(std::chrono::seconds offset) { offset_ = offset.count(); }

 private:
  std::atomic<std::chrono::seconds::rep> offset_{0};
};

/// The state that the calls of one client share.
struct S3Service {
  const S3Endpoint& endpoint;
  const ServiceCall& call;
  Auth::AWSV4Signer& signer;
  S3RegionCache& regions;
  S3Clock& clock;
};

/// Signs the requests of one call, and recovers from a wrong clock. This policy and those below
/// recover from each cause of failure once per call.
class S3RequestPolicy : public RequestPolicy {
 public:
  S3RequestPolicy(S3Service service, std::string region)
      : service_(service), region_(std::move(region)) {}

  void authorize(Http::Request& request) override;
  std::vector<std::string> secretsIn(const Http::Request& request) const override;
  bool recover(const Http::Response& response, const Error& error, Http::Request& request) override;
  bool redirect(const std::string& location, Http::Request& request) override;

 protected:
  const S3Service& service() const { return service_; }
  const std::string& region() const { return region_; }
  void setRegion(std::string region) { region_ = std::move(region); }

 private:
  bool recoverClock(const Http::Response& response, const Error& error);

  S3Service service_;
  std::string region_;
  bool clockRecovered_ = false;
};

/// The policy of a call on the endpoint itself, which responds to a wrong region in the signature
/// with the region that it expects.
class S3EndpointPolicy : public S3RequestPolicy {
 public:
  /// Whether the expected region replaces the one in the signature. `Never` is for requests whose
  /// body also states a region: the two would contradict each other.
  enum class RegionRecovery { Never, ThisCall, AllCalls };

  S3EndpointPolicy(S3Service service, std::string region, RegionRecovery regionRecovery)
      : S3RequestPolicy(service, std::move(region)), regionRecovery_(regionRecovery) {}

  bool recover(const Http::Response& response, const Error& error, Http::Request& request) override;

 private:
  bool recoverRegion(const Http::Response& response, const Error& error);

  RegionRecovery regionRecovery_;
};

/// The policy of a call on a bucket, which may be in a region other than the session's.
class S3BucketPolicy : public S3RequestPolicy {
 public:
  S3BucketPolicy(S3Service service, std::string bucket, std::string key = {});

  /// The address of the bucket or object in the currently known region.
  Http::URI uri() const;
  bool recover(const Http::Response& response, const Error& error, Http::Request& request) override;

 private:
  bool recoverRegion(const Http::Response& response, const Error& error, Http::Request& request);
  std::string regionOf(const Http::Response& response);
  std::string requestRegion();
  bool isOtherRegion(const std::string& text) const;

  std::string bucket_;
  std::string key_;
  bool regionRecovered_ = false;
  bool regionRequested_ = false;
};

/// The policy of a call that lists a bucket's keys. A key may contain characters that XML cannot
/// represent. The response is then not XML, unless the request makes the service encode keys.
class S3ListingPolicy : public S3BucketPolicy {
 public:
  using S3BucketPolicy::S3BucketPolicy;

  /// Whether the last response was XML, whatever it contained.
  void setIsXml(bool isXml) { isXml_ = isXml; }
  bool recover(const Http::Response& response, const Error& error, Http::Request& request) override;
  /// Whether the request made the service encode keys because of its first response.
  bool hasRecoveredEncoding() const { return encodingRecovered_; }

 private:
  bool isXml_ = true;
  bool encodingRecovered_ = false;
};

}  // namespace CloudStorage::Client::S3
