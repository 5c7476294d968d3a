#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace CloudStorage::Client {

/// What one call of a host may use, whatever the service does, and what it has used: time and
/// requests. All requests of the call share it, such as those for the pages of a listing and those
/// that a client sends by itself. Token requests use its time only. One thread uses it.
class CallBudget {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  static constexpr std::chrono::minutes kTime{10};
  static constexpr std::size_t kRequests = 100'000;

  /// What the call has received so far.
  struct Usage {
    /// Including those that failed, and token requests.
    std::uint64_t requests = 0;
    /// In the bodies of the responses.
    std::uint64_t bytes = 0;
    /// In the listings.
    std::uint64_t entries = 0;
  };

  /// The time that is left, 0 if the time is over. It starts with the first call.
  std::chrono::milliseconds timeLeft(TimePoint now) {
    if (!end_) end_ = now + kTime;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(*end_ - now);
    return std::max(left, std::chrono::milliseconds::zero());
  }

  /// Uses one request. Returns false if none is left.
  bool takeRequest() {
    if (requests_ == kRequests) return false;
    ++requests_;
    return true;
  }

  Usage& usage() { return usage_; }

  /// Ends the call before its next request.
  void cancel() { isCancelled_ = true; }
  bool isCancelled() const { return isCancelled_; }

 private:
  std::optional<TimePoint> end_;
  std::size_t requests_ = 0;
  Usage usage_;
  bool isCancelled_ = false;
};

}  // namespace CloudStorage::Client
