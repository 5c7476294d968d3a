#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <vector>

#include "CloudStorage/Client/WSClient.h"
#include "support/scripted_transport.h"

namespace TestSupport {

/// The world of a client under test: a scripted network, and a clock that only the client's own
/// waiting moves. Nothing here really waits. Safe for concurrent calls.
class AttemptWorld {
 public:
  using TimePoint = std::chrono::system_clock::time_point;

  /// What a client is to be made with. This object must outlive the client.
  CloudStorage::Client::ClientEnvironment environment() {
    CloudStorage::Client::ClientEnvironment environment;
    environment.transport = transport;
    environment.now = [this] { return now(); };
    environment.sleep = [this](std::chrono::milliseconds delay) { wait(delay); };
    return environment;
  }

  TimePoint now() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return now_;
  }

  void wait(std::chrono::milliseconds delay) {
    const std::lock_guard<std::mutex> lock(mutex_);
    now_ += delay;
    delays_.push_back(delay.count());
  }

  /// How long the client has waited each time, in milliseconds.
  std::vector<std::chrono::milliseconds::rep> delays() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return delays_;
  }

  const std::shared_ptr<ScriptedTransport> transport = std::make_shared<ScriptedTransport>();

 private:
  mutable std::mutex mutex_;
  TimePoint now_ = std::chrono::system_clock::from_time_t(1709195415);  // 2024-02-29 08:30:15 UTC
  std::vector<std::chrono::milliseconds::rep> delays_;
};

}  // namespace TestSupport
