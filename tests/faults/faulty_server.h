#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "cloud.h"
#include "fault.h"

namespace Faults {

/// A server that passes requests on to a cloud, except for those that it has been told to attack.
class FaultyServer {
 public:
  FaultyServer(Behaviour::Cloud& cloud, const Behaviour::Service& service);

  std::uint16_t port() const { return server_.port(); }

  /// From now on requests with this subject are attacked. `fault` must outlive this object.
  void attack(const Fault& fault, Behaviour::Subject subject);
  void behave();

  /// The number of requests with this subject so far, attacked or not.
  std::size_t count(Behaviour::Subject subject) const;
  /// The hosts that requests were meant for.
  std::set<std::string> hosts() const;
  /// The secrets in all requests so far.
  std::set<std::string> secrets() const;

 private:
  void serve(Connection& connection);
  bool respond(Connection& connection, const std::string& bytes, bool isReused);
  /// The fault for a request; null if there is none.
  const Fault* record(const Http::Request& request);
  Behaviour::Subject subjectOf(const Http::Request& request) const;
  bool closesNewConnections() const;

  Behaviour::Cloud& cloud_;
  const Behaviour::Service& service_;
  mutable std::mutex mutex_;
  const Fault* fault_ = nullptr;
  Behaviour::Subject subject_ = Behaviour::Subject::Unknown;
  std::size_t attacks_ = 0;
  std::multiset<Behaviour::Subject> subjects_;
  std::set<std::string> hosts_;
  std::set<std::string> secrets_;
  TestSupport::LoopbackServer server_;  // the last, because its threads use all others
};

}  // namespace Faults
