#include "fault.h"

namespace Faults {
namespace {

constexpr char kOk[] = "HTTP/1.1 200 OK\r\n";

/// Sends lines of a head before the proper response.
Attack precede(const std::string& unit, std::size_t times) {
  return [=](Connection& connection, const AttackedRequest& request) {
    const auto proper = request.properResponse();
    return sendRepeated(connection, unit, times) &&
           connection.send(
               TestSupport::httpResponse(std::to_string(proper.status) + " OK", proper.body));
  };
}

/// Sends header lines before those of the proper response.
Attack addHeaders(const std::string& unit, std::size_t times) {
  return [=](Connection& connection, const AttackedRequest& request) {
    const std::string body = request.properResponse().body;
    return connection.send(kOk) && sendRepeated(connection, unit, times) &&
           connection.send("Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body);
  };
}

/// Sends the proper response with trailers.
Attack addTrailers(std::size_t times) {
  return [=](Connection& connection, const AttackedRequest& request) {
    const std::string body = request.properResponse().body;
    std::string chunk;
    if (!body.empty()) {
      char size[20];
      std::snprintf(size, sizeof size, "%zx\r\n", body.size());
      chunk = size + body + "\r\n";
    }
    return connection.send(kOk + ("Transfer-Encoding: chunked\r\n\r\n" + chunk) + "0\r\n") &&
           sendRepeated(connection, "X-Trailer: with some value\r\n", times) &&
           connection.send("\r\n");
  };
}

/// Header lines with different names.
Attack addDifferentHeaders(std::size_t times) {
  std::string lines;
  for (std::size_t i = 0; i < times; ++i) lines += "X-" + std::to_string(i) + ": v\r\n";
  return addHeaders(lines, 1);
}

}  // namespace

std::vector<Fault> headFaults() {
  const std::string longLine = "X-Long: " + std::string(1U << 20U, 'x') + "\r\n";
  return {
      {"ClosedInsideStatusLine", send("HTTP/1.1 20")},
      {"ClosedAfterStatusLine", send(kOk)},
      {"ClosedInsideHeaderLine", send(std::string(kOk) + "Content-Ty")},
      {"ClosedBeforeBlankLine", send(std::string(kOk) + "Content-Length: 0\r\n")},
      {"Garbage", send(std::string(2000, '\x07') + "\r\n\r\n")},
      {"GarbageWithZeros", send(std::string(2000, '\0') + "\r\n\r\n")},
      {"OldProtocol", send("<html>no head</html>")},
      {"StatusOfWord", send("HTTP/1.1 fine\r\n\r\n")},
      {"StatusOfSixDigits", send("HTTP/1.1 200200 OK\r\n\r\n")},
      {"UnknownProtocolVersion", send("HTTP/7.3 200 OK\r\n\r\n")},
      {"OtherProtocol", send("220 mail.example.test ESMTP\r\n")},
      {"SwitchedProtocol", send("HTTP/1.1 101 Switching Protocols\r\nUpgrade: x\r\n\r\n")},
      {"NegativeLength", changeHead("HTTP/1.1 200 OK\r\nContent-Length: -7\r\n\r\n")},
      {"LengthOfWord", changeHead("HTTP/1.1 200 OK\r\nContent-Length: long\r\n\r\n")},
      {"LengthTooLong",
       changeHead("HTTP/1.1 200 OK\r\nContent-Length: 4611686018427387904\r\n\r\n")},
      Fault("UnknownTransferEncoding",
            changeHead("HTTP/1.1 200 OK\r\nTransfer-Encoding: riddle\r\nContent-Length: %\r\n\r\n"))
          .survivedBy(kStoreCreation),  // has no body
      Fault("SomeInterimResponses", precede("HTTP/1.1 102 Processing\r\n\r\n", 10))
          .survivedBy(kAllCalls),
      {"InterimResponsesWithoutEnd", precede("HTTP/1.1 102 Processing\r\n\r\n", 300'000)},
      Fault("ManyHeaders", addDifferentHeaders(900)).survivedBy(kAllCalls),
      {"HeadersWithoutEnd", addDifferentHeaders(300'000)},
      {"EqualHeadersWithoutEnd", addHeaders("X-Same: some value\r\n", 100'000)},
      {"HeaderLineOfMebibyte", addHeaders(longLine, 1)},
      Fault("SomeTrailers", addTrailers(10)).survivedBy(kAllCalls),
      {"TrailersWithoutEnd", addTrailers(300'000)},
  };
}

}  // namespace Faults
