#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "CloudStorage/Http/Transport.h"
#include "calls.h"
#include "support/loopback_server.h"

namespace Faults {

namespace Http = CloudStorage::Http;
using Connection = TestSupport::LoopbackServer::Connection;

/// A request that a server attacks.
struct AttackedRequest {
  const Behaviour::Service& service;
  const Http::Request& request;
  /// Has the request executed.
  std::function<Http::Response()> properResponse;
  /// Whether the connection has served other requests before.
  bool isOnReusedConnection = false;
};

/// What a server does in place of a proper response. False if it then closes the connection.
using Attack = std::function<bool(Connection&, const AttackedRequest&)>;

/// One way in which a server misbehaves, and which calls stand it.
struct Fault {
  std::string name;
  Attack attack;
  /// The calls that it is tried with.
  Calls calls = kAllCalls;
  /// Those of them that succeed nevertheless.
  Calls survivors = 0;
  /// Whether it takes a second page to notice it. A listing of S3 has one.
  bool isOfLaterPages = false;
  /// Whether the response lets a request that creates something be sent again.
  bool invitesRepetition = false;
  /// The server closes new connections before they send a request.
  bool closesNewConnections = false;
  /// Nobody listens.
  bool refusesConnections = false;
  /// How much more memory than before the process may have in use, the server included.
  unsigned maxGrowthMebibytes = 100;

  Fault(std::string ownName, Attack ownAttack)
      : name(std::move(ownName)), attack(std::move(ownAttack)) {}

  Fault& onlyFor(Calls chosen) {
    calls = chosen;
    return *this;
  }
  Fault& survivedBy(Calls chosen) {
    survivors = chosen;
    return *this;
  }
};

std::vector<Fault> connectionFaults();
std::vector<Fault> headFaults();
std::vector<Fault> bodyFaults();
std::vector<Fault> listingFaults();
std::vector<Fault> statusFaults();
std::vector<Fault> redirectFaults();
std::vector<Fault> quotationFaults();

// Attacks.

/// Sends the same bytes for each request, and closes the connection.
Attack send(std::string bytes);
/// Sends a response with this status line, body and header lines.
Attack respond(const std::string& status, const std::string& body, const std::string& headers = {});
/// Sends the proper response after a change of its body.
Attack changeBody(const std::function<std::string(std::string)>& change,
                  const std::string& headers = {});
/// Sends the proper response with another head; `%` in it stands for the length of the body.
Attack changeHead(const std::string& head);

/// Sends `unit` again and again. False if the client has disconnected.
bool sendRepeated(Connection& connection, std::string_view unit, std::size_t times);
std::string repeated(std::string_view unit, std::size_t times);

/// The header line of a service's content type.
std::string contentTypeOf(const Behaviour::Service& service);
bool usesXml(const AttackedRequest& request);

}  // namespace Faults
