#pragma once

#include <chrono>

namespace CloudStorage::Util {

/// An event that ends the calls that depend on it. Safe for concurrent use. trigger(), reset() and
/// isTriggered() may also be called by signal handlers.
class CancelEvent {
 public:
  /// Throws std::bad_alloc if there is no file descriptor left.
  CancelEvent();
  ~CancelEvent();
  CancelEvent(const CancelEvent&) = delete;
  CancelEvent& operator=(const CancelEvent&) = delete;

  void trigger() const noexcept;
  void reset() const noexcept;
  bool isTriggered() const noexcept;

  /// Waits until the event is triggered, but not longer than `limit`.
  void wait(std::chrono::milliseconds limit) const;

  /// Readable while the event is triggered.
  int descriptor() const noexcept { return descriptor_; }

 private:
  int descriptor_;
};

}  // namespace CloudStorage::Util
