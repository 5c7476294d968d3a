#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "CloudStorage/Client/CallBudget.h"
#include "CloudStorage/Client/Service.h"
#include "Util/CancelEvent.h"

namespace CloudStorage::Client {

/// What a host has set for the calls of one thread: what ends them early, and who learns how far
/// they have come.
struct CallControl {
  /// How far a call has come.
  struct Progress {
    Service service;
    const char* operation;
    CallBudget::Usage usage;
  };

  std::chrono::steady_clock::time_point deadline = std::chrono::steady_clock::time_point::max();
  /// Null: the calls cannot be cancelled.
  std::shared_ptr<const Util::CancelEvent> cancelEvent;
  /// Returns false to cancel the call. May be empty.
  std::function<bool(const Progress&)> progress;

  /// Of the calling thread.
  static CallControl& ofThread();
};

}  // namespace CloudStorage::Client
