#include "fault.h"

#include "loopback.h"

namespace Faults {

using TestSupport::httpResponse;

Attack send(std::string bytes) {
  return [bytes = std::move(bytes)](Connection& connection, const AttackedRequest&) {
    connection.send(bytes);
    return false;
  };
}

Attack respond(const std::string& status, const std::string& body, const std::string& headers) {
  return [bytes = httpResponse(status, body, headers)](
             Connection& connection, const AttackedRequest&) { return connection.send(bytes); };
}

Attack changeBody(const std::function<std::string(std::string)>& change,
                  const std::string& headers) {
  return [=](Connection& connection, const AttackedRequest& attacked) {
    const auto proper = attacked.properResponse();
    return connection.send(
        httpResponse(std::to_string(proper.status) + " OK", change(proper.body), headers));
  };
}

Attack changeHead(const std::string& head) {
  return [=](Connection& connection, const AttackedRequest& attacked) {
    const std::string body = attacked.properResponse().body;
    std::string bytes = head;
    const auto length = bytes.find('%');
    if (length != std::string::npos) bytes.replace(length, 1, std::to_string(body.size()));
    connection.send(bytes + body);
    return false;
  };
}

bool sendRepeated(Connection& connection, std::string_view unit, std::size_t times) {
  const std::size_t atOnce = 65536 / unit.size() + 1;
  const std::string units = repeated(unit, atOnce);
  for (; times > atOnce; times -= atOnce) {
    if (!connection.send(units)) return false;
  }
  return connection.send(repeated(unit, times));
}

std::string repeated(std::string_view unit, std::size_t times) {
  std::string text;
  text.reserve(unit.size() * times);
  for (; times > 0; --times) text += unit;
  return text;
}

std::string contentTypeOf(const Behaviour::Service& service) {
  return service.facts.usesTokens ? "Content-Type: application/json\r\n"
                                  : "Content-Type: application/xml\r\n";
}

bool usesXml(const AttackedRequest& request) { return !request.service.facts.usesTokens; }

}  // namespace Faults
