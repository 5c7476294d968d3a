#pragma once

#include <chrono>
#include <functional>

#include "CloudStorage/Client/CallBudget.h"

namespace CloudStorage::Client {

/// The call that a thread is running, for as long as the object exists. Bound to the thread,
/// because some of a call's requests are sent where nothing refers to the call: a retry strategy
/// refreshes the access token, and a request policy asks for the region of a bucket.
class RunningCall {
 public:
  using Clock = std::function<CallBudget::TimePoint()>;

  /// Both parameters must outlive the object.
  RunningCall(CallBudget& budget, const Clock& now);
  ~RunningCall();
  RunningCall(const RunningCall&) = delete;
  RunningCall& operator=(const RunningCall&) = delete;

  /// The time that is left to the call of this thread, 0 if its time is over. The budget of a whole
  /// call if the thread is running none.
  static std::chrono::milliseconds timeLeft();

  /// Uses one of the requests of the call of this thread. Returns false if none is left.
  static bool takeRequest();

 private:
  CallBudget& budget_;
  const Clock& now_;
  RunningCall* const outer_;
};

}  // namespace CloudStorage::Client
