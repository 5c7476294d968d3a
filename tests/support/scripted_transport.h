#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "CloudStorage/Http/Transport.h"
#include "support/responses.h"

namespace TestSupport {

/// A transport that returns queued responses and records the requests. Safe for concurrent calls. A
/// request for which no response is queued is recorded, too, and fails with the name
/// "NOT_SCRIPTED".
class ScriptedTransport : public CloudStorage::Http::Transport {
 public:
  using Responder = std::function<CloudStorage::Http::Response(const CloudStorage::Http::Request&)>;

  /// Queues one response.
  void enqueue(CloudStorage::Http::Response response) {
    enqueue([response = std::move(response)](const auto&) { return response; });
  }

  /// Queues one response that `responder` makes for its request. It runs in the sending thread and
  /// without a lock held: it may inspect the request, block, or call the code under test.
  void enqueue(Responder responder) {
    const std::lock_guard<std::mutex> lock(mutex_);
    responders_.push_back(std::move(responder));
  }

  CloudStorage::Http::Response send(const CloudStorage::Http::Request& request) override {
    return record(request)(request);
  }

  /// All requests so far, in order.
  std::vector<CloudStorage::Http::Request> requests() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
  }

  /// The number of responses that are still queued.
  std::size_t unusedResponses() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return responders_.size();
  }

 private:
  Responder record(const CloudStorage::Http::Request& request) {
    const std::lock_guard<std::mutex> lock(mutex_);
    requests_.push_back(request);
    if (responders_.empty()) return notScripted;
    auto responder = std::move(responders_.front());
    responders_.pop_front();
    return responder;
  }

  static CloudStorage::Http::Response notScripted(const CloudStorage::Http::Request& request) {
    return failedResponse(CloudStorage::Http::TransportFailure::Kind::Refused, "NOT_SCRIPTED",
                          std::string("No response is queued for ") +
                              CloudStorage::Http::methodName(request.method) + ' ' +
                              request.uri.toString(),
                          false);
  }

  mutable std::mutex mutex_;
  std::deque<Responder> responders_;
  std::vector<CloudStorage::Http::Request> requests_;
};

}  // namespace TestSupport
