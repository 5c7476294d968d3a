#include "fault.h"

namespace Faults {
namespace {

using Behaviour::Service;

enum class BodyKind { Empty, WebPage, OfService, OfOtherServices, Broken };

constexpr const char* kBodyNames[] = {"Empty", "WebPage", "OfService", "OfOtherServices", "Broken"};

std::string bodyOf(BodyKind kind, const Service& service) {
  const std::string own = service.accessDenied().response.body;
  switch (kind) {
    case BodyKind::Empty:
      return {};
    case BodyKind::WebPage:
      return "<html><head><title>Error</title></head><body>Bad\r\n\tgateway</body></html>";
    case BodyKind::OfService:
      return own;
    case BodyKind::OfOtherServices:
      return service.facts.usesTokens ? "<Error><Code>Other</Code><Message>m</Message></Error>"
                                      : R"({"error":{"code":"other","message":"m"}})";
    case BodyKind::Broken:
      return own.substr(0, own.size() / 2) + "\xff\xfe";
  }
  return {};
}

Attack fail(int status, BodyKind kind) {
  return [=](Connection& connection, const AttackedRequest& request) {
    const std::string headers =
        kind == BodyKind::WebPage ? "Content-Type: text/html\r\n" : contentTypeOf(request.service);
    return connection.send(TestSupport::httpResponse(std::to_string(status) + " Text",
                                                     bodyOf(kind, request.service), headers));
  };
}

constexpr char kForeignHost[] = "attacker.example.com";

struct Location {
  const char* name;
  std::string value;
};

std::vector<Location> locations() {
  const std::string foreign = kForeignHost;
  return {
      {"ToForeignHost", "https://" + foreign + "/"},
      {"ToForeignHostUnencrypted", "http://" + foreign + "/"},
      {"ToHostWithSuffix", "https://graph.microsoft.com." + foreign + "/"},
      {"ToUser", "https://store.example.test@" + foreign + "/"},
      {"ToForeignHostWithoutScheme", "//" + foreign + "/"},
      {"ToOtherProtocol", "ftp://" + foreign + "/"},
      {"ToFile", "file:///etc/passwd"},
      {"ToNowhere", ""},
      {"ToGarbage", "https://[::::/%zz?\x01"},
      {"ToLongAddress", "https://" + foreign + '/' + std::string(60'000, 'a')},
  };
}

/// Redirects to where the request came from.
Attack redirectToItself(int status) {
  return [=](Connection& connection, const AttackedRequest& request) {
    return connection.send(
        TestSupport::httpResponse(std::to_string(status) + " Text", "",
                                  "Location: " + request.request.uri.toString() + "\r\n"));
  };
}

Fault repeatable(Fault fault) {
  fault.invitesRepetition = true;
  return fault;
}

}  // namespace

std::vector<Fault> statusFaults() {
  std::vector<Fault> faults;
  for (const int status : {300, 301, 302, 303, 304, 307, 308, 400, 401, 402, 403, 404, 405,
                           406, 407, 408, 409, 410, 411, 412, 413, 415, 416, 421, 422, 423,
                           429, 431, 451, 499, 500, 501, 502, 503, 504, 507, 509, 511, 599}) {
    for (int kind = 0; kind < 5; ++kind) {
      faults.push_back(repeatable({"Status" + std::to_string(status) + kBodyNames[kind],
                                   fail(status, static_cast<BodyKind>(kind))}));
    }
  }
  return faults;
}

std::vector<Fault> redirectFaults() {
  std::vector<Fault> faults;
  for (const int status : {301, 302, 303, 307, 308}) {
    const std::string name = "Redirect" + std::to_string(status);
    for (const Location& location : locations()) {
      faults.push_back(
          repeatable({name + location.name, respond(std::to_string(status) + " Text", "",
                                                    "Location: " + location.value + "\r\n")}));
    }
    faults.push_back(repeatable({name + "ToItself", redirectToItself(status)}));
  }
  return faults;
}

}  // namespace Faults
