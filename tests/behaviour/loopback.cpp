#include "loopback.h"

#include <sstream>
#include <string>

namespace Behaviour {
namespace {

namespace Http = CloudStorage::Http;
using Connection = TestSupport::LoopbackServer::Connection;

// The header that keeps the original address of a request.
constexpr char kAddress[] = "x-address";

Http::Method methodNamed(const std::string& name) {
  for (const auto method : {Http::Method::Head, Http::Method::Post, Http::Method::Put}) {
    if (name == Http::methodName(method)) return method;
  }
  return Http::Method::Get;
}

}  // namespace

Http::Request requestIn(const std::string& bytes) {
  const auto headEnd = bytes.find("\r\n\r\n");
  std::istringstream head(bytes.substr(0, headEnd + 2));
  std::string line;
  std::getline(head, line);
  Http::Request request;
  const auto methodEnd = line.find(' ');
  const std::string target = line.substr(methodEnd + 1, line.rfind(' ') - methodEnd - 1);
  request.method = methodNamed(line.substr(0, methodEnd));
  while (std::getline(head, line)) {
    const auto colon = line.find(": ");
    if (colon == std::string::npos) continue;
    request.headers[line.substr(0, colon)] = line.substr(colon + 2, line.size() - colon - 3);
  }
  const auto address = request.headers.find(kAddress);
  request.uri = Http::URI::parse(address != request.headers.end()
                                     ? address->second
                                     : "https://" + request.headers["Host"] + target)
                    .value();
  request.body = bytes.substr(headEnd + 4);
  return request;
}

std::string bytesOf(const Http::Response& response) {
  return TestSupport::httpResponse(std::to_string(response.status) + " Text", response.body);
}

Http::Response Detour::send(const Http::Request& request) {
  Http::Request detoured = request;
  detoured.uri = Http::URI::parse("http://127.0.0.1:" + std::to_string(port_) + "/").value();
  detoured.headers[kAddress] = request.uri.toString();
  return transport_.send(detoured);
}

CloudServer::CloudServer(Cloud& cloud)
    : server_([&cloud](Connection& connection) {
        while (const auto request = connection.readRequest()) {
          if (!connection.send(bytesOf(cloud.send(requestIn(*request))))) return;
        }
      }) {}

}  // namespace Behaviour
