#pragma once

#include <map>
#include <mutex>
#include <string>
#include <utility>

namespace CloudStorage::Client::S3 {

/// The regions that an S3 client has learned from responses. Safe for concurrent use.
class S3RegionCache {
 public:
  explicit S3RegionCache(std::string region) : region_(std::move(region)) {}

  /// The region that requests are signed for by default.
  std::string region() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return region_;
  }
  void setRegion(std::string region) {
    const std::lock_guard<std::mutex> lock(mutex_);
    region_ = std::move(region);
  }

  /// The region of a bucket; region() if it is unknown.
  std::string regionOfBucket(const std::string& bucket) const {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto known = bucketRegions_.find(bucket);
    return known == bucketRegions_.end() ? region_ : known->second;
  }
  void setRegionOfBucket(const std::string& bucket, std::string region) {
    const std::lock_guard<std::mutex> lock(mutex_);
    bucketRegions_[bucket] = std::move(region);
  }

 private:
  mutable std::mutex mutex_;
  std::string region_;
  std::map<std::string, std::string> bucketRegions_;
};

}  // namespace CloudStorage::Client::S3
