#pragma once

#include <atomic>
#include <chrono>
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

  /// How far the service's clock is ahead of ours.
  std::chrono::seconds clockOffset() const { return std::chrono::seconds(clockOffset_.load()); }
  void setClockOffset(std::chrono::seconds offset) { clockOffset_ = offset.count(); }

 private:
  mutable std::mutex mutex_;
  std::string region_;
  std::atomic<std::chrono::seconds::rep> clockOffset_{0};
};

/// How the attempts of one S3 call are signed, and what is mended between them without asking the
/// retry strategy: a wrong region in the signature and a wrong clock, each once a call.
class S3Conduct : public AttemptConduct {
 public:
  struct Service {
    const S3Endpoint& endpoint;
    const ServiceCall& call;
    Auth::AWSV4Signer& signer;
    S3Knowledge& knowledge;
  };

  /// Whether a region that the service names may replace the one in the signature. Not where the
  /// request's body names a region as well: the two would contradict each other.
  enum class RegionCorrection { Never, ThisCall, AllCalls };

  S3Conduct(Service service, std::string region, RegionCorrection regionCorrection)
      : service_(service), region_(std::move(region)), regionCorrection_(regionCorrection) {}

  void authorize(Http::Request& request) override;
  bool correct(const Http::Response& response, const Error& error, Http::Request& request) override;
  bool follow(const std::string& location, Http::Request& request) override;

 private:
  bool correctRegion(const Http::Response& response, const Error& error);
  bool correctClock(const Http::Response& response, const Error& error);

  Service service_;
  std::string region_;
  RegionCorrection regionCorrection_;
  bool clockCorrected_ = false;
};

}  // namespace CloudStorage::Client::S3
