#include "compression.h"
#include "fault.h"

namespace Faults {
namespace {

constexpr std::size_t kMebibyte = std::size_t{1} << 20U;
constexpr char kGzip[] = "Content-Encoding: gzip\r\n";
constexpr char kHtml[] = "Content-Type: text/html\r\n";

// The response to the creation of a folder in an object store has no body, so there is nothing in
// it that could be misunderstood.
constexpr Calls kWithBody = kAllCalls - kStoreCreation;

bool sendTooMuch(Connection& connection, const AttackedRequest& /*request*/) {
  return connection.send("HTTP/1.1 200 OK\r\nContent-Length: 41943040\r\n\r\n") &&
         sendRepeated(connection, " ", 40 * kMebibyte);
}

bool sendWithoutEnd(Connection& connection, const AttackedRequest& /*request*/) {
  const std::string chunk = "1000\r\n" + std::string(0x1000, ' ') + "\r\n";
  return connection.send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n") &&
         sendRepeated(connection, chunk, 200 * kMebibyte / 0x1000);
}

/// Sends a body in chunks, with an end that may be missing or wrong.
Attack sendChunk(const std::string& end) {
  return send("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n2\r\n{}" + end);
}

/// Sends the proper response as one with another status.
Attack changeStatus(const std::string& status) {
  return changeHead("HTTP/1.1 " + status + "\r\nContent-Length: %\r\n\r\n");
}

bool respondWithOtherRoot(Connection& connection, const AttackedRequest& request) {
  return connection.send(TestSupport::httpResponse(
      "200 OK", usesXml(request) ? "<Other><Name>a</Name></Other>" : R"([{"access_token":"a"}])"));
}

bool respondWithScalar(Connection& connection, const AttackedRequest& /*request*/) {
  return connection.send(TestSupport::httpResponse("200 OK", "\"text\""));
}

// A member that no client reads holds lists in lists.
bool respondWithDeepMember(Connection& connection, const AttackedRequest& request) {
  constexpr std::size_t kDepth = 1'000'000;
  std::string body = request.properResponse().body;
  if (usesXml(request)) {
    body.insert(body.rfind("</"), repeated("<a>", kDepth) + repeated("</a>", kDepth));
  } else {
    body.insert(1, R"("unread":)" + std::string(kDepth, '[') + std::string(kDepth, ']') + ',');
  }
  return connection.send(TestSupport::httpResponse("200 OK", body));
}

bool respondWithOpenElements(Connection& connection, const AttackedRequest& request) {
  const std::string body =
      usesXml(request) ? repeated("<a>", 1'000'000) : R"({"a":)" + std::string(1'000'000, '[');
  return connection.send(TestSupport::httpResponse("200 OK", body));
}

std::string truncated(std::string body) {
  body.resize(body.size() * 2 / 3);
  return body;
}

std::string asUtf16(const std::string& body) {
  std::string wide = "\xff\xfe";
  for (const char character : body) {
    wide += character;
    wide += '\0';
  }
  return wide;
}

}  // namespace

std::vector<Fault> bodyFaults() {
  const std::string bomb = gzip("", std::string(kMebibyte, ' '), 40, "");
  const std::string someGzip = gzip("{", " ", 100, "}");
  return {
      {"ClosedInsideBody", send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{")},
      {"ClosedInsideChunk", sendChunk("\r\nff\r\nabc")},
      {"ClosedBeforeLastChunk", sendChunk("\r\n")},
      {"ChunkLengthOfWord", sendChunk("\r\nlong\r\n")},
      {"ChunkTooLong", sendChunk("\r\nfffffffffffffffff\r\n")},
      {"ChunkWithoutLineEnd", sendChunk("2\r\n")},
      {"TooLong", sendTooMuch},
      {"WithoutEnd", sendWithoutEnd},
      // The object stores are not asked to compress, so they read this as it is.
      Fault("GzipBomb", respond("200 OK", bomb, kGzip)).onlyFor(kDriveCalls),
      Fault("BrokenGzip", respond("200 OK", someGzip.substr(0, 15) + "broken", kGzip))
          .onlyFor(kDriveCalls),
      Fault("NoGzip", respond("200 OK", "plain", kGzip)).onlyFor(kDriveCalls),
      Fault("UnknownCompression", respond("200 OK", "{}", "Content-Encoding: riddle\r\n"))
          .onlyFor(kDriveCalls),
      {"WebPage", respond("200 OK", "<html><body>Log in, please.</body></html>", kHtml)},
      Fault("WebPageWithoutType", respond("200 OK", "<html><body>Log in.</body></html>"))
          .onlyFor(kWithBody),
      Fault("Text", respond("200 OK", "Service is up", "Content-Type: text/plain\r\n"))
          .survivedBy(kStoreCreation),
      Fault("Empty", respond("200 OK", "")).survivedBy(kStoreCreation),
      Fault("Status201", changeStatus("201 Created")).survivedBy(kStoreCreation | kDriveCreation),
      Fault("Status202", changeStatus("202 Accepted")).survivedBy(kStoreCreation | kDriveCreation),
      Fault("Status204", send("HTTP/1.1 204 No Content\r\n\r\n")).survivedBy(kStoreCreation),
      Fault("Status205", respond("205 Reset Content", "")).survivedBy(kStoreCreation),
      {"Status206", changeStatus("206 Partial Content")},
      Fault("OtherRoot", respondWithOtherRoot).onlyFor(kWithBody),
      Fault("Scalar", respondWithScalar).survivedBy(kStoreCreation),
      Fault("Truncated", changeBody(truncated)).onlyFor(kWithBody),
      Fault("TrailingGarbage", changeBody([](const auto& body) { return body + "} more"; }))
          .survivedBy(kStoreListing | kStoreCreation),  // text after a document is skipped
      Fault("TwoDocuments", changeBody([](const auto& body) { return body + body; }))
          .onlyFor(kWithBody),
      Fault("Utf16", changeBody(asUtf16)).onlyFor(kWithBody),
      Fault("Zeros", respond("200 OK", std::string(1000, '\0'))).onlyFor(kWithBody),
      Fault("OpenElements", respondWithOpenElements).onlyFor(kWithBody),
      Fault("DeepMember", respondWithDeepMember)
          .onlyFor(kWithBody)
          .survivedBy(kDriveListing | kDriveCreation),
      Fault("ByteOrderMark", changeBody([](const auto& body) { return "\xEF\xBB\xBF" + body; }))
          .survivedBy(kAllCalls),
      Fault("SpaceAround", changeBody([](const auto& body) { return " \r\n\t" + body + "\n\n"; }))
          .survivedBy(kAllCalls),
  };
}

}  // namespace Faults
