// Responses with many headers, and responses that end within them.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>

#include "Http/CurlTransport.h"
#include "support/loopback_server.h"

namespace {

using CloudStorage::Http::CurlTransport;
using CloudStorage::Http::Method;
using CloudStorage::Http::Response;
using CloudStorage::Http::TransportFailure;
using testing::Pair;
using testing::SizeIs;
using testing::UnorderedElementsAre;
using TestSupport::LoopbackServer;
using Kind = TransportFailure::Kind;

constexpr std::size_t kMebibyte = std::size_t{1} << 20U;

/// `count` headers of about `size` bytes each, with different names.
std::string headers(int count, std::size_t size = 10) {
  std::string lines;
  for (int i = 0; i < count; ++i) {
    lines += "X-" + std::to_string(i) + ": " + std::string(size, 'x') + "\r\n";
  }
  return lines;
}

/// The response to a request whose server sends `bytes` and closes the connection.
Response responseTo(const std::string& bytes, const CurlTransport::Options& options = {}) {
  const LoopbackServer server([&bytes](LoopbackServer::Connection& connection) {
    if (connection.readRequest()) connection.send(bytes);
  });
  return CurlTransport(options).send(server.request(Method::Get, "/"));
}

/// A server that sends `head` and then `block` again and again, up to 64 MiB.
LoopbackServer::Script sendForever(std::string head, std::string block) {
  return
      [head = std::move(head), block = std::move(block)](LoopbackServer::Connection& connection) {
        if (!connection.readRequest() || !connection.send(head)) return;
        for (std::size_t sent = 0; sent < 64 * kMebibyte && connection.send(block);) {
          sent += block.size();
        }
      };
}

void expectTooLarge(const Response& response) {
  EXPECT_EQ(response.status, 0);
  EXPECT_EQ(response.body, "");
  EXPECT_THAT(response.headers, SizeIs(0));
  ASSERT_TRUE(response.failure);
  EXPECT_EQ(response.failure->kind, Kind::ResponseTooLarge) << response.failure->name;
  EXPECT_EQ(response.failure->name, "ResponseTooLarge");
  EXPECT_EQ(response.failure->message, "The answer has too many or too long headers");
}

/// Expects that the response is refused while most of it has not been sent.
void expectRefusalOf(const LoopbackServer& server, const CurlTransport::Options& options = {}) {
  expectTooLarge(CurlTransport(options).send(server.request(Method::Get, "/")));
  EXPECT_LT(server.bytesSent(), 32 * kMebibyte);
}

TEST(CurlTransportHeaders, ResponseThatEndsInItsHeadersIsAFailure) {
  const std::string whole = "HTTP/1.1 200 OK\r\nContent-Type: text/plain\r\nX-Last: 1\r\n\r\n";
  for (std::size_t length = 0; length < whole.size(); ++length) {
    const Response response = responseTo(whole.substr(0, length));
    ASSERT_TRUE(response.failure) << "after " << length << " bytes";
    EXPECT_EQ(response.status, 0);
    EXPECT_EQ(response.failure->kind, Kind::Interrupted) << response.failure->name;
    EXPECT_TRUE(response.failure->requestMayHaveRun);
    EXPECT_NE(response.failure->message, "");
    EXPECT_THAT(response.headers, SizeIs(0));
  }
  EXPECT_EQ(responseTo(whole).status, 200);
}

TEST(CurlTransportHeaders, FailureThatEndsInItsHeadersIsABrokenConnection) {
  const Response response = responseTo("HTTP/1.1 503 Slow Down\r\nRetry-After: 1\r\n");
  EXPECT_EQ(response.status, 0);
  ASSERT_TRUE(response.failure);
  EXPECT_EQ(response.failure->name, "CURLE_PARTIAL_FILE");
  EXPECT_EQ(response.failure->message, "The answer ends in its headers");
}

TEST(CurlTransportHeaders, EndAfterAnInterimResponseIsAFailure) {
  const std::string interim = "HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n";
  for (const char* begin :
       {"", "HTTP/1.1", "HTTP/1.1 200 OK\r\n", "HTTP/1.1 200 OK\r\nX-A: 1\r\n"}) {
    const Response response = responseTo(interim + begin);
    ASSERT_TRUE(response.failure) << begin;
    EXPECT_EQ(response.status, 0);
    EXPECT_EQ(response.failure->kind, Kind::Interrupted) << response.failure->name;
  }
}

TEST(CurlTransportHeaders, AThousandHeadersArrive) {
  const Response response = responseTo("HTTP/1.1 200 OK\r\n" + headers(1000) + "\r\n");
  EXPECT_EQ(response.status, 200);
  EXPECT_THAT(response.headers, SizeIs(1000));
}

TEST(CurlTransportHeaders, OneMoreIsRefused) {
  expectTooLarge(responseTo("HTTP/1.1 200 OK\r\n" + headers(1001) + "\r\n"));
  expectTooLarge(responseTo("HTTP/1.1 404 Not Found\r\n" + headers(1001) + "\r\n"));
}

TEST(CurlTransportHeaders, LongHeadersArriveUpToTheLimit) {
  EXPECT_EQ(responseTo("HTTP/1.1 200 OK\r\n" + headers(5, 50'000) + "\r\n").status, 200);
  expectTooLarge(responseTo("HTTP/1.1 200 OK\r\n" + headers(6, 50'000) + "\r\n"));
}

TEST(CurlTransportHeaders, EndlessHeaderIsRefused) {
  expectRefusalOf(LoopbackServer(sendForever("HTTP/1.1 200 OK\r\nX-A: ", std::string(1000, 'x'))));
}

TEST(CurlTransportHeaders, EndlessHeadersAreRefused) {
  expectRefusalOf(LoopbackServer(sendForever("HTTP/1.1 200 OK\r\n", "X-A: 1\r\n")));
}

TEST(CurlTransportHeaders, EndlessInterimResponsesAreRefused) {
  expectRefusalOf(LoopbackServer(sendForever("", "HTTP/1.1 103 Early Hints\r\nLink: x\r\n\r\n")));
  expectRefusalOf(LoopbackServer(sendForever("", "HTTP/1.1 100 Continue\r\n\r\n")));
}

TEST(CurlTransportHeaders, HeadersOfAllBlocksCount) {
  const std::string interim = "HTTP/1.1 103 Early Hints\r\n" + headers(600) + "\r\n";
  EXPECT_EQ(responseTo(interim + "HTTP/1.1 200 OK\r\n" + headers(400) + "\r\n").status, 200);
  expectTooLarge(responseTo(interim + "HTTP/1.1 200 OK\r\n" + headers(401) + "\r\n"));
}

TEST(CurlTransportHeaders, TrailersAreDropped) {
  const Response response = responseTo(
      "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\nX-A: 1\r\n\r\n3\r\none\r\n0\r\n"
      "X-Trailer: 2\r\nX-A: 3\r\nHost: 4\r\n\r\n");
  EXPECT_EQ(response.status, 200);
  EXPECT_EQ(response.body, "one");
  EXPECT_THAT(response.headers,
              UnorderedElementsAre(Pair("transfer-encoding", "chunked"), Pair("x-a", "1")));
}

TEST(CurlTransportHeaders, EndlessTrailersAreRefused) {
  const std::string head = "HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n3\r\none\r\n0\r\n";
  expectRefusalOf(LoopbackServer(sendForever(head, "X-Trailer: 1\r\n")));
  expectRefusalOf(
      LoopbackServer(sendForever(head, "X-Trailer: " + std::string(4000, 'x') + "\r\n")));
}

TEST(CurlTransportHeaders, EndlessHeadersOfAProxyAreRefused) {
  const LoopbackServer proxy(sendForever("HTTP/1.1 200 Connected\r\n", "X-A: 1\r\n"));
  CurlTransport::Options options;
  options.proxy.host = "127.0.0.1";
  options.proxy.port = proxy.port();
  auto request = TestSupport::requestTo(Method::Get, "https://service.example.test/");
  expectTooLarge(CurlTransport(options).send(request));
  EXPECT_LT(proxy.bytesSent(), 32 * kMebibyte);
}

}  // namespace
