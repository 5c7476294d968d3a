#include <chrono>
#include <thread>

#include "fault.h"

namespace Faults {
namespace {

bool close(Connection& /*connection*/, const AttackedRequest& /*request*/) { return false; }

bool reset(Connection& connection, const AttackedRequest& /*request*/) {
  connection.reset();
  return false;
}

bool beSilent(Connection& connection, const AttackedRequest& /*request*/) {
  connection.waitUntilClosed();
  return false;
}

bool beSilentInsideBody(Connection& connection, const AttackedRequest& /*request*/) {
  connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{");
  connection.waitUntilClosed();
  return false;
}

// Never longer silent than a transport would bear.
bool drip(Connection& connection, const AttackedRequest& /*request*/) {
  connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100000000\r\n\r\n");
  while (connection.send("{")) std::this_thread::sleep_for(std::chrono::milliseconds(5));
  return false;
}

// The proper response, unless the connection has been used before.
bool closeReused(Connection& connection, const AttackedRequest& request) {
  if (request.isOnReusedConnection) return false;
  const auto proper = request.properResponse();
  return connection.send(
      TestSupport::httpResponse(std::to_string(proper.status) + " OK", proper.body));
}

Fault refused() {
  Fault fault("Refused", close);
  fault.refusesConnections = true;
  return fault;
}

Fault closedAtOnce() {
  Fault fault("ClosedAtOnce", close);
  fault.closesNewConnections = true;
  return fault;
}

}  // namespace

std::vector<Fault> connectionFaults() {
  return {
      refused(),
      closedAtOnce(),
      {"ClosedAfterRequest", close},
      {"ResetAfterRequest", reset},
      {"SilentAfterRequest", beSilent},
      {"SilentInsideBody", beSilentInsideBody},
      {"SilentExceptForDrops", drip},
      Fault("ClosedWhenReused", closeReused).survivedBy(kAllCalls),
  };
}

}  // namespace Faults
