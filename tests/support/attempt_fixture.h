#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "CloudStorage/Client/WSClient.h"
#include "support/scripted_transport.h"

namespace TestSupport {

/// The environment of a client under test: a scripted transport, and a clock that only the client's
/// own delays advance. Nothing really waits. Safe for concurrent calls.
class AttemptFixture {
 public:
  using TimePoint = std::chrono::system_clock::time_point;

  /// This object must outlive the clients that use it.
  CloudStorage::Client::ClientEnvironment environment() {
    CloudStorage::Client::ClientEnvironment environment;
    environment.transport = transport;
    environment.now = [this] { return now(); };
    environment.steadyNow = [this] { return steadyNow(); };
    environment.sleep = [this](std::chrono::milliseconds delay) { wait(delay); };
    return environment;
  }

  TimePoint now() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return now_;
  }

  /// The clock that measures how long a call has been running.
  std::chrono::steady_clock::time_point steadyNow() const {
    return std::chrono::steady_clock::time_point(
        std::chrono::duration_cast<std::chrono::steady_clock::duration>(now().time_since_epoch()));
  }

  /// Advances the clock, as a request does that takes so long.
  void pass(std::chrono::milliseconds time) {
    const std::lock_guard<std::mutex> lock(mutex_);
    now_ += time;
  }

  void wait(std::chrono::milliseconds delay) {
    const std::lock_guard<std::mutex> lock(mutex_);
    now_ += delay;
    delays_.push_back(delay.count());
  }

  /// The client's delays so far, in milliseconds.
  std::vector<std::chrono::milliseconds::rep> delays() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return delays_;
  }

  void enqueue(CloudStorage::Http::Response response) { transport->enqueue(std::move(response)); }

  void enqueue(ScriptedTransport::Responder responder) { transport->enqueue(std::move(responder)); }

  std::vector<CloudStorage::Http::Request> requests() const { return transport->requests(); }

  /// Address of each request so far.
  std::vector<std::string> addresses() const {
    std::vector<std::string> texts;
    for (const auto& request : requests()) texts.push_back(request.uri.toString());
    return texts;
  }

  /// Method and address of each request so far, as in "GET https://example.test/".
  std::vector<std::string> lines() const {
    std::vector<std::string> texts;
    for (const auto& request : requests()) {
      texts.push_back(CloudStorage::Http::methodName(request.method) +
                      (' ' + request.uri.toString()));
    }
    return texts;
  }

  std::vector<std::string> bodies() const {
    std::vector<std::string> texts;
    for (const auto& request : requests()) texts.push_back(request.body);
    return texts;
  }

  /// The header `name` of each request so far; each must have it.
  std::vector<std::string> headers(const std::string& name) const {
    std::vector<std::string> texts;
    for (const auto& request : requests()) texts.push_back(request.headers.at(name));
    return texts;
  }

  const std::shared_ptr<ScriptedTransport> transport = std::make_shared<ScriptedTransport>();

 private:
  mutable std::mutex mutex_;
  TimePoint now_ = std::chrono::system_clock::from_time_t(1709195415);  // 2024-02-29 08:30:15 UTC
  std::vector<std::chrono::milliseconds::rep> delays_;
};

}  // namespace TestSupport
