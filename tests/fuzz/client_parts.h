#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "CloudStorage/Client/WSClient.h"

/// The environment of a client in a fuzz target.
namespace FuzzParts {

namespace Http = CloudStorage::Http;
namespace Client = CloudStorage::Client;

/// Responds to requests with what a function returns, and records them. After some requests there
/// are no more responses, so that no input keeps a client busy for ever.
class LimitedTransport : public Http::Transport {
 public:
  using Respond = std::function<Http::Response(const Http::Request&)>;

  explicit LimitedTransport(Respond respond) : respond_(std::move(respond)) {}

  Http::Response send(const Http::Request& request) override {
    constexpr std::size_t kMaxRequests = 10;
    requests_.push_back(request);
    if (requests_.size() <= kMaxRequests) return respond_(request);
    Http::Response response;
    response.failure.emplace();
    response.failure->name = "OVER";
    response.failure->message = "There is no more.";
    return response;
  }

  const std::vector<Http::Request>& requests() const { return requests_; }

 private:
  Respond respond_;
  std::vector<Http::Request> requests_;
};

inline Http::Response response(int status, std::string_view body,
                               Http::HeaderValueCollection headers = {}) {
  Http::Response response;
  response.status = status;
  response.body = body;
  response.headers = std::move(headers);
  return response;
}

/// With a clock that stands still, and without delays.
inline Client::ClientEnvironment environment(std::shared_ptr<Http::Transport> transport) {
  Client::ClientEnvironment environment;
  environment.transport = std::move(transport);
  environment.now = [] { return std::chrono::system_clock::from_time_t(1709195415); };
  environment.sleep = [](std::chrono::milliseconds) {};
  return environment;
}

}  // namespace FuzzParts
