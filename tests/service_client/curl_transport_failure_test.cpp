// Calls without a complete response.

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <thread>

#include "Http/CurlTransport.h"
#include "support/loopback_server.h"

namespace {

using namespace std::chrono_literals;
using CloudStorage::Http::CurlTransport;
using CloudStorage::Http::Method;
using CloudStorage::Http::Response;
using CloudStorage::Http::TransportFailure;
using TestSupport::alwaysSend;
using TestSupport::httpResponse;
using TestSupport::LoopbackServer;
using Kind = TransportFailure::Kind;

constexpr std::size_t kMebibyte = std::size_t{1} << 20U;

Response get(const LoopbackServer& server, const CurlTransport::Limits& limits = {},
             bool acceptCompressed = false) {
  CurlTransport::Options options;
  options.limits = limits;
  options.acceptCompressed = acceptCompressed;
  return CurlTransport(options).send(server.request(Method::Get, "/"));
}

/// A script that sends `bytes` once and then closes the connection.
LoopbackServer::Script sendAndClose(std::string bytes) {
  return [bytes = std::move(bytes)](LoopbackServer::Connection& connection) {
    if (connection.readRequest()) connection.send(bytes);
  };
}

/// A script that sends `head` and then `block` until `count` bytes are sent or the connection ends.
LoopbackServer::Script sendAtLength(std::string head, std::string block, std::size_t count) {
  return [=](LoopbackServer::Connection& connection) {
    if (!connection.readRequest() || !connection.send(head)) return;
    for (std::size_t sent = 0; sent < count && connection.send(block); sent += block.size()) {
    }
    connection.waitUntilClosed();
  };
}

void expectFailure(const Response& response, Kind kind, const std::string& name,
                   bool requestMayHaveRun) {
  EXPECT_EQ(response.status, 0);
  EXPECT_EQ(response.body, "");
  EXPECT_TRUE(response.headers.empty());
  ASSERT_TRUE(response.failure);
  EXPECT_EQ(response.failure->kind, kind) << response.failure->name;
  EXPECT_EQ(response.failure->name, name);
  EXPECT_EQ(response.failure->requestMayHaveRun, requestMayHaveRun);
  EXPECT_NE(response.failure->message, "");
}

TEST(CurlTransport, RefusedConnectionIsUnreachable) {
  const TestSupport::RefusingPort port;
  const auto request =
      TestSupport::requestTo(Method::Post, "http://127.0.0.1:" + std::to_string(port.number()));
  expectFailure(CurlTransport({}).send(request), Kind::Unreachable, "CURLE_COULDNT_CONNECT", false);
}

TEST(CurlTransport, UnknownHostIsUnreachable) {
  // A label of more than 63 characters has no form in DNS, so no name server is queried.
  const std::string host = std::string(64, 'a') + ".invalid";
  const auto request = TestSupport::requestTo(Method::Get, "https://" + host + "/");
  expectFailure(CurlTransport({}).send(request), Kind::Unreachable, "CURLE_COULDNT_RESOLVE_HOST",
                false);
}

TEST(CurlTransport, BodyShorterThanItsLengthIsAFailure) {
  const LoopbackServer server(
      sendAndClose("HTTP/1.1 200 OK\r\nX-A: 1\r\nContent-Length: 100\r\n\r\nhalf"));
  expectFailure(get(server), Kind::Interrupted, "CURLE_PARTIAL_FILE", true);
}

TEST(CurlTransport, ErrorBodyShorterThanItsLengthIsAFailure) {
  const LoopbackServer server(sendAndClose("HTTP/1.1 500 Oops\r\nContent-Length: 100\r\n\r\nhalf"));
  expectFailure(get(server), Kind::Interrupted, "CURLE_PARTIAL_FILE", true);
}

TEST(CurlTransport, TruncatedChunkedBodyIsAFailure) {
  const LoopbackServer server(
      sendAndClose("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n4\r\nhalf\r\n4\r\nth"));
  expectFailure(get(server), Kind::Interrupted, "CURLE_PARTIAL_FILE", true);
}

TEST(CurlTransport, BrokenChunkLengthIsAFailure) {
  const LoopbackServer server(
      sendAndClose("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\nhalf"));
  expectFailure(get(server), Kind::Interrupted, "CURLE_RECV_ERROR", true);
}

TEST(CurlTransport, BrokenCompressionIsAFailure) {
  const LoopbackServer server(
      sendAndClose(httpResponse("200 OK", "this is not compressed", "Content-Encoding: gzip\r\n")));
  expectFailure(get(server, {}, true), Kind::Interrupted, "CURLE_BAD_CONTENT_ENCODING", true);
}

TEST(CurlTransport, CloseInsteadOfAResponseIsAFailure) {
  const LoopbackServer server(sendAndClose(""));
  expectFailure(get(server), Kind::Interrupted, "CURLE_GOT_NOTHING", true);
}

TEST(CurlTransport, ResponseThatIsNoHttpIsAFailure) {
  const LoopbackServer server(sendAndClose("220 mail ready\r\n"));
  expectFailure(get(server), Kind::Interrupted, "CURLE_UNSUPPORTED_PROTOCOL", true);
}

TEST(CurlTransport, ResetInsteadOfAResponseIsAFailure) {
  const LoopbackServer server([](LoopbackServer::Connection& connection) {
    connection.readRequest();
    connection.reset();
  });
  expectFailure(get(server), Kind::Interrupted, "CURLE_RECV_ERROR", true);
}

TEST(CurlTransport, FailedCallDoesNotAffectTheNext) {
  const LoopbackServer server([](LoopbackServer::Connection& connection) {
    while (const auto request = connection.readRequest()) {
      if (request->find("/bad") != std::string::npos) return;
      connection.send(httpResponse("200 OK", "fine"));
    }
  });
  CurlTransport transport({});
  EXPECT_TRUE(transport.send(server.request(Method::Get, "/bad")).failure);
  EXPECT_EQ(transport.send(server.request(Method::Get, "/good")).body, "fine");
}

TEST(CurlTransport, SilentServerReachesTheTotalLimit) {
  const LoopbackServer server(
      [](LoopbackServer::Connection& connection) { connection.waitUntilClosed(); });
  CurlTransport::Limits limits;
  limits.total = 200ms;
  expectFailure(get(server, limits), Kind::Timeout, "CURLE_OPERATION_TIMEDOUT", true);
}

TEST(CurlTransport, SilenceInTheMiddleOfAResponseIsATimeout) {
  const LoopbackServer server([](LoopbackServer::Connection& connection) {
    connection.readRequest();
    connection.waitUntilClosed();
  });
  CurlTransport::Limits limits;
  limits.silence = 1s;
  const auto begin = std::chrono::steady_clock::now();
  expectFailure(get(server, limits), Kind::Timeout, "CURLE_OPERATION_TIMEDOUT", true);
  EXPECT_GE(std::chrono::steady_clock::now() - begin, 900ms);
}

TEST(CurlTransport, TimeoutBeforeTheConnectionIsOpenCannotHaveRun) {
  LoopbackServer server(
      [](LoopbackServer::Connection& connection) { connection.waitUntilClosed(); });
  auto request = server.request(Method::Post, "/");
  request.uri.setScheme("https");  // the handshake gets no response
  CurlTransport::Options options;
  options.limits.connect = 200ms;
  expectFailure(CurlTransport(options).send(request), Kind::Timeout, "CURLE_OPERATION_TIMEDOUT",
                false);
}

TEST(CurlTransport, RequestMayHaveATighterLimit) {
  const LoopbackServer server(
      [](LoopbackServer::Connection& connection) { connection.waitUntilClosed(); });
  CurlTransport transport({});
  for (const auto limit : {200ms, 1ms, 0ms}) {
    auto request = server.request(Method::Get, "/");
    request.timeLimit = limit;
    const Response response = transport.send(request);
    ASSERT_TRUE(response.failure);
    EXPECT_EQ(response.failure->kind, Kind::Timeout);
    request.uri.setScheme("https");  // the handshake gets no response
    EXPECT_EQ(transport.send(request).failure->name, "CURLE_OPERATION_TIMEDOUT");
  }
}

TEST(CurlTransport, SlowResponseWithinTheLimitsArrives) {
  const LoopbackServer server([](LoopbackServer::Connection& connection) {
    connection.readRequest();
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n");
    for (int i = 0; i < 10; ++i) {
      std::this_thread::sleep_for(10ms);  // the test is about slowness
      connection.send("x");
    }
    connection.waitUntilClosed();
  });
  EXPECT_EQ(get(server).body, "xxxxxxxxxx");
}

TEST(CurlTransport, EndlessSlowResponseReachesTheTotalLimit) {
  const LoopbackServer server([](LoopbackServer::Connection& connection) {
    connection.readRequest();
    connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n");
    while (connection.send("x")) std::this_thread::sleep_for(10ms);
  });
  CurlTransport::Limits limits;
  limits.total = 300ms;
  expectFailure(get(server, limits), Kind::Timeout, "CURLE_OPERATION_TIMEDOUT", true);
}

TEST(CurlTransport, BodyOverTheLimitIsRefusedWithoutReadingItAll) {
  const std::size_t length = 40 * kMebibyte;
  const LoopbackServer server(
      sendAtLength("HTTP/1.1 200 OK\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n",
                   std::string(65536, 'x'), length));
  expectFailure(get(server), Kind::ResponseTooLarge, "ResponseTooLarge", true);
  EXPECT_LT(server.bytesSent(), length) << "the rest is not read";
}

TEST(CurlTransport, EndlessBodyIsRefused) {
  const LoopbackServer server(sendAtLength("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n",
                                           "4000\r\n" + std::string(0x4000, 'x') + "\r\n",
                                           1000 * kMebibyte));
  CurlTransport::Limits limits;
  limits.maxBody = kMebibyte;
  expectFailure(get(server, limits), Kind::ResponseTooLarge, "ResponseTooLarge", true);
  EXPECT_LT(server.bytesSent(), 32 * kMebibyte);
}

TEST(CurlTransport, BodyOfExactlyTheLimitArrives) {
  CurlTransport::Limits limits;
  limits.maxBody = 1000;
  const LoopbackServer fits(alwaysSend(httpResponse("200 OK", std::string(1000, 'x'))));
  EXPECT_EQ(get(fits, limits).body.size(), 1000U);
  const LoopbackServer exceeds(alwaysSend(httpResponse("200 OK", std::string(1001, 'x'))));
  expectFailure(get(exceeds, limits), Kind::ResponseTooLarge, "ResponseTooLarge", true);
}

TEST(CurlTransport, LimitCountsDecompressedBytes) {
  // 10000 times the letter a, compressed with gzip.
  constexpr unsigned char kBomb[] = {0x1f, 0x8b, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x03,
                                     0xed, 0xc1, 0x01, 0x0d, 0x00, 0x00, 0x00, 0xc2, 0xa0, 0xac,
                                     0xef, 0x5f, 0xc2, 0x1c, 0x6e, 0x40, 0x01, 0x00, 0x00, 0x00,
                                     0x00, 0x00, 0x00, 0x00, 0x00, 0xc0, 0xbf, 0x01, 0x97, 0xd4,
                                     0x7e, 0x46, 0x10, 0x27, 0x00, 0x00};
  const std::string body(std::begin(kBomb), std::end(kBomb));
  const LoopbackServer server(
      alwaysSend(httpResponse("200 OK", body, "Content-Encoding: gzip\r\n")));
  CurlTransport::Limits limits;
  limits.maxBody = 10000;
  EXPECT_EQ(get(server, limits, true).body, std::string(10000, 'a'));
  limits.maxBody = 9999;
  expectFailure(get(server, limits, true), Kind::ResponseTooLarge, "ResponseTooLarge", true);
}

TEST(CurlTransport, LongErrorBodyIsTruncated) {
  const std::size_t length = 5 * kMebibyte;
  const LoopbackServer server(sendAtLength(
      "HTTP/1.1 500 Oops\r\nX-Id: 7\r\nContent-Length: " + std::to_string(length) + "\r\n\r\n",
      std::string(65536, 'x'), length));
  const Response response = get(server);
  EXPECT_FALSE(response.failure);
  EXPECT_EQ(response.status, 500);
  EXPECT_EQ(response.body.size(), kMebibyte);
  EXPECT_EQ(response.headers.at("x-id"), "7");
}

TEST(CurlTransport, ConnectionOfATruncatedResponseIsNotReused) {
  const LoopbackServer server([](LoopbackServer::Connection& connection) {
    while (const auto request = connection.readRequest()) {
      const bool large = request->find("/large") != std::string::npos;
      connection.send(large ? httpResponse("400 Bad", std::string(2000, 'x'))
                            : httpResponse("200 OK", "small"));
    }
  });
  CurlTransport::Options options;
  options.limits.maxErrorBody = 1000;
  CurlTransport transport(options);
  EXPECT_EQ(transport.send(server.request(Method::Get, "/large")).body.size(), 1000U);
  EXPECT_EQ(transport.send(server.request(Method::Get, "/small")).body, "small");
}

}  // namespace
