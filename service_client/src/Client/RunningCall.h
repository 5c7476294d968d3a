#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>

#include "CloudStorage/Client/CallBudget.h"
#include "CloudStorage/Client/Service.h"
#include "CloudStorage/Http/Transport.h"

namespace CloudStorage::Client {

/// The call that a thread is running, for as long as the object exists. Bound to the thread,
/// because some of a call's requests are sent where nothing refers to the call: a retry strategy
/// refreshes the access token, and a request policy asks for the region of a bucket. A thread that
/// is running none has the budget of a whole call.
class RunningCall {
 public:
  using Clock = std::function<CallBudget::TimePoint()>;

  /// The parameters must outlive the object.
  RunningCall(CallBudget& budget, const Clock& now, Service service);
  ~RunningCall();
  RunningCall(const RunningCall&) = delete;
  RunningCall& operator=(const RunningCall&) = delete;

  /// The time that is left to the call of this thread, 0 if its time is over: until the end of its
  /// budget or the deadline that the host has set.
  static std::chrono::milliseconds timeLeft();

  /// Uses one of the requests of the call of this thread. Returns false if none is left.
  static bool takeRequest();

  /// The reason why the call of this thread must end now: its time is over, or the host has
  /// cancelled it. Nothing if it may continue.
  static std::optional<Http::TransportFailure> endReason();
  /// The reason for a call that ends because its time is over, or would be.
  static Http::TransportFailure outOfTime();

  /// Whether another thread may cancel the call of this thread at any time.
  static bool isCancellable();

  /// Waits for `delay` or until the host cancels the call.
  static void wait(std::chrono::milliseconds delay);

  /// Sends `request`, which is one of the call's requests, unless the call must end, and until it
  /// must.
  static Http::Response send(Http::Transport& transport, Http::Request& request);

  /// Adds entries of a listing to the call's usage and reports to the host how far the call has
  /// come, if a request has been sent since the last report. `operation` is static.
  static void report(const char* operation, std::size_t entries);

 private:
  static std::chrono::milliseconds budgetLeft();
  static void cancelCall();
  bool isCancelled() const { return budget_.isCancelled(); }

  CallBudget& budget_;
  const Clock& now_;
  const Service service_;
  std::uint64_t reportedRequests_;
  RunningCall* const outer_;
};

}  // namespace CloudStorage::Client
