#pragma once

#include <atomic>
#include <chrono>
#include <map>
#include <mutex>
#include <string>
#include <utility>

#include "Auth/AWSV4Signer.h"
#include "Client/S3/S3Addressing.h"
#include "Client/ServiceCall.h"

namespace CloudStorage::Client::S3 {

/// What an S3 client learns from its answers and uses from then on. Safe for concurrent use.
class S3Knowledge {
 public:
  explicit S3Knowledge(std::string region) : region_(std::move(region)) {}

  /// The region that requests are signed for unless they name another.
  std::string region() const;
  void setRegion(std::string region);

  /// The region of a bucket, as far as is known.
  std::string regionOfBucket(const std::string& bucket) const;
  void setRegionOfBucket(const std::string& bucket, std::string region);

  /// How far the service's clock is ahead of ours.
  std::chrono::seconds clockOffset() const { return std::chrono::seconds(clockOffset_.load()); }
  void setClockOffset(std::chrono::seconds offset) { clockOffset_ = offset.count(); }

 private:
  mutable std::mutex mutex_;
  std::string region_;
  std::map<std::string, std::string> bucketRegions_;  // as learnt
  std::atomic<std::chrono::seconds::rep> clockOffset_{0};
};

/// What the calls of one client share.
struct S3Service {
  const S3Endpoint& endpoint;
  const ServiceCall& call;
  Auth::AWSV4Signer& signer;
  S3Knowledge& knowledge;
};

/// How the attempts of one S3 call are signed, and what is mended between them without asking the
/// retry strategy, each once a call: a wrong clock, and what the kinds of call below add.
class S3Conduct : public AttemptConduct {
 public:
  S3Conduct(S3Service service, std::string region)
      : service_(service), region_(std::move(region)) {}

  void authorize(Http::Request& request) override;
  bool correct(const Http::Response& response, const Error& error, Http::Request& request) override;
  bool follow(const std::string& location, Http::Request& request) override;

 protected:
  const S3Service& service() const { return service_; }
  const std::string& region() const { return region_; }
  void setRegion(std::string region) { region_ = std::move(region); }

 private:
  bool correctClock(const Http::Response& response, const Error& error);

  S3Service service_;
  std::string region_;
  bool clockCorrected_ = false;
};

/// A call on the endpoint itself, which knows what region it wants to see in a signature and says
/// so.
class S3EndpointConduct : public S3Conduct {
 public:
  /// Whether a region that the service names may replace the one in the signature. Not where the
  /// request's body names a region as well: the two would contradict each other.
  enum class RegionCorrection { Never, ThisCall, AllCalls };

  S3EndpointConduct(S3Service service, std::string region, RegionCorrection regionCorrection)
      : S3Conduct(service, std::move(region)), regionCorrection_(regionCorrection) {}

  bool correct(const Http::Response& response, const Error& error, Http::Request& request) override;

 private:
  bool correctRegion(const Http::Response& response, const Error& error);

  RegionCorrection regionCorrection_;
};

/// A call on a bucket, which may lie in another region than the session's.
class S3BucketConduct : public S3Conduct {
 public:
  S3BucketConduct(S3Service service, std::string bucket, std::string key = {});

  /// Where the bucket is, as far as is known.
  Http::URI uri() const;
  bool correct(const Http::Response& response, const Error& error, Http::Request& request) override;

 private:
  bool correctRegion(const Http::Response& response, const Error& error, Http::Request& request);
  bool correctEncoding(const Http::Response& response, const Error& error, Http::Request& request);
  std::string askForRegion();

  std::string bucket_;
  std::string key_;
  bool regionCorrected_ = false;
  bool encodingCorrected_ = false;
};

}  // namespace CloudStorage::Client::S3
