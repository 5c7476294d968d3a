#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "CloudStorage/Http/Transport.h"

namespace TestSupport {

/// An answer with a status, a body and headers (lower-case names).
inline CloudStorage::Http::Response answer(int status, std::string body = {},
                                           CloudStorage::Http::HeaderValueCollection headers = {}) {
  CloudStorage::Http::Response response;
  response.status = status;
  response.headers = std::move(headers);
  response.body = std::move(body);
  return response;
}

/// No answer, for the given reason.
inline CloudStorage::Http::Response noAnswer(CloudStorage::Http::TransportFailure::Kind kind,
                                             std::string name, std::string message,
                                             bool requestMayHaveRun) {
  CloudStorage::Http::Response response;
  response.failure = {kind, std::move(name), std::move(message), requestMayHaveRun};
  return response;
}

/// A transport that answers from a queue and keeps what it was asked to send. Safe for concurrent
/// calls. A request for which nothing is queued is kept like any other and gets a failure named
/// "NOT_SCRIPTED", so that a test notices it whichever of the two it looks at.
class ScriptedTransport : public CloudStorage::Http::Transport {
 public:
  using Responder = std::function<CloudStorage::Http::Response(const CloudStorage::Http::Request&)>;

  /// Queues one answer.
  void enqueue(CloudStorage::Http::Response response) {
    enqueue([response = std::move(response)](const auto&) { return response; });
  }

  /// Queues one answer that is made when its turn comes, in the sending thread and without a lock
  /// held: it may look at the request, block, or call back into what is under test.
  void enqueue(Responder responder) {
    const std::lock_guard<std::mutex> lock(mutex_);
    responders_.push_back(std::move(responder));
  }

  CloudStorage::Http::Response send(const CloudStorage::Http::Request& request) override {
    return record(request)(request);
  }

  /// Everything sent so far, in order.
  std::vector<CloudStorage::Http::Request> requests() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return requests_;
  }

  /// Queued answers that nobody has asked for.
  std::size_t unusedAnswers() const {
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
    return noAnswer(CloudStorage::Http::TransportFailure::Kind::Refused, "NOT_SCRIPTED",
                    std::string("No answer is queued for ") +
                        CloudStorage::Http::methodName(request.method) + ' ' +
                        request.uri.toString(),
                    false);
  }

  mutable std::mutex mutex_;
  std::deque<Responder> responders_;
  std::vector<CloudStorage::Http::Request> requests_;
};

}  // namespace TestSupport
