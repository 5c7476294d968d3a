// Requests on the wire, and responses.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "Http/CurlTransport.h"
#include "support/loopback_server.h"

namespace {

using CloudStorage::Http::CurlTransport;
using CloudStorage::Http::Method;
using CloudStorage::Http::Request;
using CloudStorage::Http::Response;
using CloudStorage::Http::TransportFailure;
using TestSupport::alwaysSend;
using TestSupport::httpResponse;
using TestSupport::LoopbackServer;

using testing::HasSubstr;
using testing::Not;
using testing::Pair;
using testing::StartsWith;
using testing::UnorderedElementsAre;

// `{"name":"value"}`, compressed with gzip.
constexpr unsigned char kCompressed[] = {0x1f, 0x8b, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02,
                                         0x03, 0xab, 0x56, 0xca, 0x4b, 0xcc, 0x4d, 0x55, 0xb2,
                                         0x52, 0x2a, 0x4b, 0xcc, 0x29, 0x4d, 0x55, 0xaa, 0x05,
                                         0x00, 0xfc, 0x9f, 0xd5, 0x8a, 0x10, 0x00, 0x00, 0x00};

std::string compressedBody() { return {std::begin(kCompressed), std::end(kCompressed)}; }

CurlTransport::Options compressing() {
  CurlTransport::Options options;
  options.acceptCompressed = true;
  return options;
}

/// `request` without the line with the version.
std::string withoutUserAgent(std::string request) {
  const auto begin = request.find("User-Agent: libvemlo/");
  if (begin == std::string::npos) return "no user agent in: " + request;
  return request.erase(begin, request.find("\r\n", begin) + 2 - begin);
}

/// Sends `request` to a server and returns what the server received, without the user agent.
std::string onTheWire(Method method, const std::string& target, Request request = {},
                      const CurlTransport::Options& options = {}) {
  LoopbackServer server(alwaysSend(httpResponse("200 OK", "")));
  request.method = method;
  request.uri = server.request(method, target).uri;
  EXPECT_EQ(CurlTransport(options).send(request).status, 200);

  const auto requests = server.requests();
  if (requests.size() != 1) return "requests: " + std::to_string(requests.size());
  std::string text = withoutUserAgent(requests.front());
  const std::string port = ":" + std::to_string(server.port());
  const auto position = text.find(port);
  return position == std::string::npos ? text : text.erase(position, port.size());
}

Response responseTo(const std::string& bytes, const CurlTransport::Options& options = {}) {
  LoopbackServer server(alwaysSend(bytes));
  return CurlTransport(options).send(server.request(Method::Get, "/"));
}

TEST(CurlTransport, GetSendsOnlyTheHost) {
  EXPECT_EQ(onTheWire(Method::Get, "/a?b=c"), "GET /a?b=c HTTP/1.1\r\nHost: 127.0.0.1\r\n\r\n");
}

TEST(CurlTransport, PutWithoutBodyHasLengthZero) {
  EXPECT_EQ(onTheWire(Method::Put, "/bucket"),
            "PUT /bucket HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 0\r\n\r\n");
}

TEST(CurlTransport, PostWithoutBodyHasLengthZeroAndNoType) {
  EXPECT_EQ(onTheWire(Method::Post, "/list"),
            "POST /list HTTP/1.1\r\nHost: 127.0.0.1\r\nContent-Length: 0\r\n\r\n");
}

TEST(CurlTransport, BodyMayContainAnyBytes) {
  Request request;
  request.headers = {{"content-type", "text/plain"}};
  request.body = std::string("a\0\r\n\r\nb", 7);
  EXPECT_EQ(onTheWire(Method::Post, "/", request),
            "POST / HTTP/1.1\r\nHost: 127.0.0.1\r\ncontent-type: text/plain\r\n"
            "Content-Length: 7\r\n\r\n" +
                request.body);
}

TEST(CurlTransport, LargeBodyIsSentAtOnceAndCompletely) {
  for (const Method method : {Method::Put, Method::Post}) {
    Request request;
    request.body.assign(std::size_t{3} << 20U, 'x');
    const std::string sent = onTheWire(method, "/", request);
    const std::string head = sent.substr(0, sent.find("\r\n\r\n"));
    EXPECT_THAT(head, HasSubstr("Content-Length: 3145728"));
    EXPECT_THAT(head, Not(HasSubstr("Expect")));
    EXPECT_THAT(head, Not(HasSubstr("Transfer-Encoding")));
    EXPECT_EQ(sent.size(), head.size() + 4 + request.body.size());
  }
}

TEST(CurlTransport, HeadHasNoBodyWhateverItsContentLength) {
  LoopbackServer server(alwaysSend("HTTP/1.1 200 OK\r\nContent-Length: 5000\r\n\r\n"));
  const Response response = CurlTransport({}).send(server.request(Method::Head, "/x"));
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.body, "");
  EXPECT_EQ(response.headers.at("content-length"), "5000");
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_THAT(server.requests().front(), StartsWith("HEAD /x HTTP/1.1\r\n"));
}

TEST(CurlTransport, PathIsSentUnchanged) {
  const std::vector<std::string> targets = {"/b/a/../c/./d", "//a//b/", "/%2e%2e/a%20b?c=%2F&d=..",
                                            "/.."};
  for (const std::string& target : targets) {
    EXPECT_THAT(onTheWire(Method::Get, target), StartsWith("GET " + target + " HTTP/1.1\r\n"));
  }
}

TEST(CurlTransport, HeadersReplaceDefaultsAndEmptyOnesAreOmitted) {
  Request request;
  request.headers = {{"accept", "application/json"},
                     {"content-type", ""},
                     {"host", "signed.host"},
                     {"x-space", "  "},
                     {"x-semicolon", "a; b"}};
  EXPECT_EQ(onTheWire(Method::Post, "/", request),
            "POST / HTTP/1.1\r\nHost: signed.host\r\naccept: application/json\r\n"
            "x-semicolon: a; b\r\nContent-Length: 0\r\n\r\n");
}

TEST(CurlTransport, HeadersThatCouldInjectOthersAreRefused) {
  const std::vector<std::pair<std::string, std::string>> headers = {
      {"x-a", "1\r\nx-b: 2"},
      {"x-a", "1\n"},
      {"x-a", std::string("1\0", 2)},
      {"x-a\r\nx-b", "1"},
      {"x-a: 1\nx-b", "1"},
      {std::string("x-\0a", 4), "1"},
      {"x-a;", "1"},
      {"", "1"},
  };
  LoopbackServer server(alwaysSend(httpResponse("200 OK", "")));
  CurlTransport transport({});
  for (const auto& header : headers) {
    Request request = server.request(Method::Get, "/");
    request.headers.insert(header);
    const Response response = transport.send(request);
    ASSERT_TRUE(response.failure) << header.first;
    EXPECT_EQ(response.failure->kind, TransportFailure::Kind::Refused);
    EXPECT_EQ(response.failure->name, "InvalidRequest");
    EXPECT_FALSE(response.failure->requestMayHaveRun);
  }
  EXPECT_EQ(server.connectionCount(), 0U);
}

TEST(CurlTransport, AddressWithoutHostIsRefused) {
  Request request;
  const Response response = CurlTransport({}).send(request);
  ASSERT_TRUE(response.failure);
  EXPECT_EQ(response.failure->kind, TransportFailure::Kind::Refused);
  EXPECT_EQ(response.failure->name, "CURLE_URL_MALFORMAT");
  EXPECT_FALSE(response.failure->requestMayHaveRun);
}

TEST(CurlTransport, OnlyHttpAndHttpsAreSupported) {
  Request request = TestSupport::requestTo(Method::Get, "http://127.0.0.1/etc/passwd");
  request.uri.setScheme("file");
  const Response response = CurlTransport({}).send(request);
  ASSERT_TRUE(response.failure);
  EXPECT_EQ(response.failure->kind, TransportFailure::Kind::Refused);
  EXPECT_EQ(response.body, "");
}

TEST(CurlTransport, HeaderNamesAreFoldedAndRepeatedOnesJoined) {
  const Response response = responseTo(
      "HTTP/1.1 302 Found\r\nLOCATION: /first\r\nlocation: /second\r\nX-Twice: 1\r\n"
      "x-tWICE: \t 2 \r\nX-Empty:\r\nX-Colons: a:b: c\r\nContent-Length: 0\r\n\r\n");
  EXPECT_EQ(response.status, 302);
  EXPECT_THAT(response.headers,
              UnorderedElementsAre(Pair("location", "/second"), Pair("x-twice", "1, 2"),
                                   Pair("x-empty", ""), Pair("x-colons", "a:b: c"),
                                   Pair("content-length", "0")));
}

TEST(CurlTransport, HeadersOfInterimResponsesAreDiscarded) {
  const Response response = responseTo(
      "HTTP/1.1 100 Continue\r\nX-Interim: 1\r\n\r\nHTTP/1.1 103 Early Hints\r\nLocation: /no\r\n"
      "\r\n" +
      httpResponse("200 OK", "body", "X-Final: 1\r\n"));
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.body, "body");
  EXPECT_THAT(response.headers,
              UnorderedElementsAre(Pair("x-final", "1"), Pair("content-length", "4")));
}

TEST(CurlTransport, RedirectsAreNotFollowed) {
  LoopbackServer server(alwaysSend(httpResponse("307 Temporary", "moved", "Location: /b\r\n")));
  const Response response = CurlTransport({}).send(server.request(Method::Get, "/a"));
  EXPECT_EQ(response.status, 307);
  EXPECT_EQ(response.body, "moved");
  EXPECT_EQ(response.headers.at("location"), "/b");
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST(CurlTransport, ErrorStatusIsAResponseAndNoFailure) {
  const Response response =
      responseTo(httpResponse("503 Slow Down", "<html>wait</html>", "Content-Type: text/html\r\n"));
  EXPECT_FALSE(response.failure);
  EXPECT_FALSE(response.isSuccessStatus());
  EXPECT_EQ(response.status, 503);
  EXPECT_EQ(response.body, "<html>wait</html>");
}

TEST(CurlTransport, HtmlPageIsABodyLikeAnyOther) {
  const Response response =
      responseTo(httpResponse("200 OK", "<html>log in</html>", "Content-Type: text/html\r\n"));
  EXPECT_TRUE(response.isSuccessStatus());
  EXPECT_EQ(response.body, "<html>log in</html>");
}

TEST(CurlTransport, ChunkedBodyIsAssembled) {
  const Response response = responseTo(
      "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\none \r\n3\r\ntwo\r\n0\r\n\r\n");
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.body, "one two");
}

TEST(CurlTransport, CompressionIsOfferedAndDecodedOnlyIfEnabled) {
  const std::string bytes = httpResponse("200 OK", compressedBody(), "Content-Encoding: gzip\r\n");
  EXPECT_EQ(responseTo(bytes, compressing()).body, R"({"name":"value"})");
  EXPECT_EQ(responseTo(bytes).body, compressedBody());
  EXPECT_THAT(onTheWire(Method::Get, "/", {}, compressing()),
              HasSubstr("Accept-Encoding: gzip, deflate\r\n"));
  EXPECT_THAT(onTheWire(Method::Get, "/"), Not(HasSubstr("Accept-Encoding")));
}

TEST(CurlTransport, AgentNamesCompressionOnlyIfEnabled) {
  LoopbackServer server(alwaysSend(httpResponse("200 OK", "")));
  CurlTransport(compressing()).send(server.request(Method::Get, "/"));
  CurlTransport({}).send(server.request(Method::Get, "/"));
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_THAT(requests[0], testing::ContainsRegex("User-Agent: libvemlo/[0-9.]+ [(]gzip[)]\r\n"));
  EXPECT_THAT(requests[1], testing::ContainsRegex("User-Agent: libvemlo/[0-9.]+\r\n"));
}

TEST(CurlTransport, NothingOfACallIsSentWithTheNext) {
  LoopbackServer server(alwaysSend(httpResponse("200 OK", "")));
  CurlTransport transport({});
  Request first = server.request(Method::Put, "/first");
  first.headers = {{"authorization", "secret"}};
  first.body = "first body";
  transport.send(first);
  transport.send(server.request(Method::Get, "/second"));
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 2U);
  EXPECT_THAT(withoutUserAgent(requests[1]), StartsWith("GET /second HTTP/1.1\r\nHost: "));
  EXPECT_THAT(requests[1], Not(HasSubstr("authorization")));
  EXPECT_THAT(requests[1], Not(HasSubstr("ontent-")));
  EXPECT_EQ(server.connectionCount(), 1U);
}

TEST(CurlTransport, ProxyOfTheEnvironmentIsIgnored) {
  LoopbackServer server(alwaysSend(httpResponse("200 OK", "direct")));
  LoopbackServer proxy(alwaysSend(httpResponse("200 OK", "through the proxy")));
  const std::string address = "http://127.0.0.1:" + std::to_string(proxy.port());
  const std::vector<const char*> names = {"http_proxy", "https_proxy", "all_proxy", "ALL_PROXY"};
  for (const char* name : names) ::setenv(name, address.c_str(), 1);
  const Response response = CurlTransport({}).send(server.request(Method::Get, "/"));
  for (const char* name : names) ::unsetenv(name);
  EXPECT_EQ(response.body, "direct");
  EXPECT_EQ(proxy.connectionCount(), 0U);
}

}  // namespace
