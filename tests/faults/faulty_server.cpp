#include "faulty_server.h"

#include "loopback.h"
#include "secrets.h"

namespace Faults {

using Behaviour::Subject;

FaultyServer::FaultyServer(Behaviour::Cloud& cloud, const Behaviour::Service& service)
    : cloud_(cloud), service_(service), server_([this](Connection& each) { serve(each); }) {}

void FaultyServer::attack(const Fault& fault, Subject subject) {
  const std::lock_guard<std::mutex> lock(mutex_);
  fault_ = &fault;
  attacks_ = 0;
  subject_ = subject;
}

void FaultyServer::behave() {
  const std::lock_guard<std::mutex> lock(mutex_);
  fault_ = nullptr;
}

std::size_t FaultyServer::count(Subject subject) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return subjects_.count(subject);
}

std::set<std::string> FaultyServer::hosts() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return hosts_;
}

std::set<std::string> FaultyServer::secrets() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return secrets_;
}

void FaultyServer::serve(Connection& connection) {
  if (closesNewConnections()) return;
  bool isReused = false;
  while (const auto bytes = connection.readRequest()) {
    if (!respond(connection, *bytes, isReused)) return;
    isReused = true;
  }
}

bool FaultyServer::respond(Connection& connection, const std::string& bytes, bool isReused) {
  const Http::Request request = Behaviour::requestIn(bytes);
  const Fault* const fault = record(request);
  const auto properResponse = [&] { return cloud_.send(request); };
  if (fault == nullptr) return connection.send(Behaviour::bytesOf(properResponse()));
  return fault->attack(connection, {service_, request, properResponse, isReused});
}

const Fault* FaultyServer::record(const Http::Request& request) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const Subject subject = subjectOf(request);
  subjects_.insert(subject);
  hosts_.insert(request.uri.host());
  for (const auto& secret : secretsOf(request)) secrets_.insert(secret);
  constexpr std::size_t kPatience = 100;  // so that no call goes on for ever
  if (fault_ == nullptr || subject != subject_ || attacks_ == kPatience) return nullptr;
  ++attacks_;
  return fault_;
}

Subject FaultyServer::subjectOf(const Http::Request& request) const {
  if (request.uri.toString() == Behaviour::Cloud::kTokenEndpoint) return Subject::Tokens;
  return service_.subjectOf(request);
}

bool FaultyServer::closesNewConnections() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return fault_ != nullptr && fault_->closesNewConnections;
}

}  // namespace Faults
