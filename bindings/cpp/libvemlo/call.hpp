#pragma once

#include <libvemlo_service_client.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <new>
#include <optional>
#include <string_view>
#include <utility>

#include "failure.hpp"

namespace vemlo {

/// What ends calls early. One call or several depend on it, and any thread triggers it. It may be
/// destroyed while calls depend on it.
class Cancellation {
 public:
  /// Throws std::bad_alloc if there is no memory or no file descriptor left (it has one).
  Cancellation() : handle_(vemlo_client_cancellation_create()) {
    if (handle_ == nullptr) throw std::bad_alloc();
  }

  /// Ends the calls that depend on it, within a tenth of a second, and those that begin later, with
  /// a `Failure` of `Kind::Cancelled`. Their sessions can still be used. May be called by a signal
  /// handler.
  void trigger() noexcept { vemlo_client_cancellation_trigger(handle_.get()); }

  /// Reverses `trigger`. A call that has not noticed yet may continue.
  void reset() noexcept { vemlo_client_cancellation_reset(handle_.get()); }

  bool isTriggered() const noexcept {
    return vemlo_client_cancellation_is_triggered(handle_.get()) != 0;
  }

  /// The object of the C interface, which stays owned by this one.
  vemlo_client_cancellation* get() const noexcept { return handle_.get(); }

 private:
  struct Release {
    void operator()(vemlo_client_cancellation* handle) const noexcept {
      vemlo_client_cancellation_release(handle);
    }
  };

  std::unique_ptr<vemlo_client_cancellation, Release> handle_;
};

/// How far a call has come.
struct Progress {
  /// The service and the operation of the last request, such as "listFileResource".
  Service service;
  std::string_view operation;
  /// The number of requests so far, including retries and token requests.
  std::uint64_t requests;
  /// The number of bytes in the bodies of the responses so far, decompressed.
  std::uint64_t bytes;
  /// The number of entries in the listings so far: buckets or folders, and whatever else the
  /// service lists beside them.
  std::uint64_t entries;
};

/// How a call is to be made. A member that is not set leaves to the call what the C functions have
/// set for the calling thread.
struct Call {
  /// When the call ends at the latest, within a tenth of a second: with a `Failure` of
  /// `Kind::Deadline`.
  std::optional<std::chrono::steady_clock::time_point> deadline;
  /// What ends the call early.
  const Cancellation* cancellation = nullptr;
  /// Called on the calling thread after each request of the call. Returns whether to continue;
  /// otherwise the call ends with a `Failure` of `Kind::Cancelled`, unless it needs no further
  /// request. An exception ends the call, too, and leaves it.
  std::function<bool(const Progress&)> progress;

  /// A call that ends after `time` at the latest.
  static Call within(std::chrono::milliseconds time) {
    using Clock = std::chrono::steady_clock;
    const auto now = Clock::now();
    const auto longest =
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::time_point::max() - now);
    Call call;
    call.deadline = now + std::clamp(time, std::chrono::milliseconds(0), longest);
    return call;
  }
};

namespace detail {

/// Sets for the calling thread what a call depends on, and removes it in the end. A callback of a
/// call may make calls itself; what these do not set stays that of the outer call, and is set again
/// after them.
class CallScope {
 public:
  explicit CallScope(const Call& call)
      : outer_(innermost()), former_(outer_ == nullptr ? Limits() : outer_->limits_) {
    if (call.deadline) limits_.deadline = onClockOfLibrary(*call.deadline);
    if (call.cancellation != nullptr) limits_.cancellation = call.cancellation->get();
    if (call.progress) limits_.progress = &call.progress;
    apply(limits_, former_);
    innermost() = this;
  }

  ~CallScope() {
    innermost() = outer_;
    apply(former_, limits_);
  }

  CallScope(const CallScope&) = delete;
  CallScope& operator=(const CallScope&) = delete;

  /// Throws what the progress callback has thrown.
  void rethrow() const {
    if (thrown_ != nullptr) std::rethrow_exception(thrown_);
  }

 private:
  struct Limits {
    std::int64_t deadline = 0;
    vemlo_client_cancellation* cancellation = nullptr;
    const std::function<bool(const Progress&)>* progress = nullptr;
  };

  /// The scope of the call that the thread makes, null if it makes none.
  static CallScope*& innermost() {
    thread_local CallScope* scope = nullptr;
    return scope;
  }

  static void apply(const Limits& limits, const Limits& former) {
    if (limits.deadline != former.deadline) vemlo_client_set_deadline(limits.deadline);
    if (limits.cancellation != former.cancellation) {
      vemlo_client_set_cancellation(limits.cancellation);
    }
    if (limits.progress != former.progress) {
      vemlo_client_set_progress_callback(limits.progress == nullptr ? nullptr : report, nullptr);
    }
  }

  static std::int64_t onClockOfLibrary(std::chrono::steady_clock::time_point deadline) {
    using std::chrono::duration_cast;
    using std::chrono::milliseconds;
    const auto now = std::chrono::steady_clock::now();
    if (deadline <= now) return 1;  // has passed; 0 would mean that there is none
    return vemlo_client_now() +
           std::max<std::int64_t>(duration_cast<milliseconds>(deadline - now).count(), 1);
  }

  static int report(const vemlo_client_progress* progress, void* /*user*/) noexcept {
    CallScope& scope = *innermost();
    try {
      const Progress reached{static_cast<Service>(progress->service), progress->operation,
                             progress->requests, progress->bytes, progress->entries};
      return (*scope.limits_.progress)(reached) ? 0 : 1;
    } catch (...) {
      scope.thrown_ = std::current_exception();
      return 1;
    }
  }

  CallScope* const outer_;
  const Limits former_;
  Limits limits_ = former_;
  std::exception_ptr thrown_;
};

/// Makes a call of the C interface. Throws its failure if its result is not 0.
template <typename Function>
void make(const Call& call, Function function) {
  CallScope scope(call);
  vemlo_client_reset_last_failure();
  const int code = function();
  scope.rethrow();
  if (code != 0) throw lastFailure(code);
}

}  // namespace detail
}  // namespace vemlo
