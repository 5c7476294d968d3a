// TLS and its trust anchors.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/ssl.h>

#include <atomic>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Http/CurlTransport.h"
#include "Http/TrustAnchors.h"
#include "support/fresh_process.h"
#include "support/loopback_server.h"
#include "support/memory_file.h"
#include "support/test_authority.h"

namespace {

/// Whether the process appears to have more privileges than its user.
bool isPrivileged = false;

}  // namespace

// In the place of the C library's function, which responds in this way in such a process.
extern "C" char* secure_getenv(const char* name) noexcept {
  return isPrivileged ? nullptr : std::getenv(name);
}

namespace {

using CloudStorage::Http::CurlTransport;
using CloudStorage::Http::Method;
using CloudStorage::Http::Response;
using CloudStorage::Http::TransportFailure;
using CloudStorage::Http::TrustAnchors;
using testing::HasSubstr;
using TestSupport::alwaysSend;
using TestSupport::httpResponse;
using TestSupport::LoopbackServer;
using TestSupport::TestAuthority;

const std::string kOwnName = "IP:127.0.0.1";

CurlTransport::Options trusting(std::shared_ptr<TrustAnchors> anchors) {
  CurlTransport::Options options;
  options.trustAnchors = std::move(anchors);
  return options;
}

std::shared_ptr<TrustAnchors> anchorsIn(const std::string& file) {
  return std::make_shared<TrustAnchors>(TrustAnchors::Sources{file, ""});
}

void expectNotSent(const Response& response, TransportFailure::Kind kind, const std::string& name) {
  EXPECT_EQ(response.status, 0);
  ASSERT_TRUE(response.failure);
  EXPECT_EQ(response.failure->kind, kind);
  EXPECT_EQ(response.failure->name, name);
  EXPECT_FALSE(response.failure->requestMayHaveRun);
}

void expectUntrusted(const Response& response, const std::string& name) {
  expectNotSent(response, TransportFailure::Kind::Untrusted, name);
}

class CurlTransportTls : public testing::Test {
 protected:
  Response getFrom(const LoopbackServer& server) {
    return CurlTransport(trusting(anchorsIn(authority_.certificateFile())))
        .send(server.request(Method::Get, "/"));
  }

  TestAuthority authority_;
  const std::string response_ = httpResponse("200 OK", "secret");
};

TEST_F(CurlTransportTls, ServerOfATrustedAuthorityIsTrusted) {
  const LoopbackServer server(alwaysSend(response_), authority_.serverContext(kOwnName));
  EXPECT_EQ(getFrom(server).body, "secret");
}

TEST_F(CurlTransportTls, ServerOfAnotherAuthorityIsNot) {
  const TestAuthority stranger;
  const LoopbackServer server(alwaysSend(response_), stranger.serverContext(kOwnName));
  expectUntrusted(getFrom(server), "CURLE_PEER_FAILED_VERIFICATION");
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(CurlTransportTls, SystemsAnchorsAreIgnoredBesideGivenOnes) {
  // With an empty folder, unlike without a folder, no authority is trusted.
  const LoopbackServer server(alwaysSend(response_), authority_.serverContext(kOwnName));
  const auto none = std::make_shared<TrustAnchors>(TrustAnchors::Sources{"", "/proc/self/task"});
  expectUntrusted(CurlTransport(trusting(none)).send(server.request(Method::Get, "/")),
                  "CURLE_PEER_FAILED_VERIFICATION");
}

TEST_F(CurlTransportTls, CertificateOfAnotherNameIsRefused) {
  const LoopbackServer server(alwaysSend(response_), authority_.serverContext("DNS:other.invalid"));
  expectUntrusted(getFrom(server), "CURLE_PEER_FAILED_VERIFICATION");
  EXPECT_TRUE(server.requests().empty());
}

TEST_F(CurlTransportTls, ServerWithoutTlsIsRefused) {
  const LoopbackServer server([](LoopbackServer::Connection& connection) {
    connection.send("HTTP/1.1 400 Speak plainly\r\n\r\n");
    connection.waitUntilClosed();
  });
  auto request = server.request(Method::Get, "/");
  request.uri.setScheme("https");
  expectNotSent(CurlTransport(trusting(anchorsIn(authority_.certificateFile()))).send(request),
                TransportFailure::Kind::Unreachable, "CURLE_SSL_CONNECT_ERROR");
}

TEST_F(CurlTransportTls, ConnectionIsSharedBySequentialCalls) {
  const LoopbackServer server(alwaysSend(response_), authority_.serverContext(kOwnName));
  CurlTransport transport(trusting(anchorsIn(authority_.certificateFile())));
  for (int i = 0; i < 50; ++i) {
    ASSERT_EQ(transport.send(server.request(Method::Get, "/")).status, 200);
  }
  EXPECT_EQ(server.connectionCount(), 1U);
}

TEST_F(CurlTransportTls, ConnectionThatTheServerResetIsReplacedWithoutASignal) {
  const LoopbackServer server(
      [this](LoopbackServer::Connection& connection) {
        if (connection.readRequest()) connection.send(response_);
        connection.reset();
      },
      authority_.serverContext(kOwnName));
  CurlTransport transport(trusting(anchorsIn(authority_.certificateFile())));
  for (int i = 0; i < 20; ++i) {
    auto request = server.request(Method::Post, "/");
    request.body.assign(1000, 'x');
    transport.send(request);  // any outcome, as the reset may arrive first; no signal
  }
  EXPECT_GE(server.connectionCount(), 20U);
}

TEST_F(CurlTransportTls, AnchorsAreLoadedOnceForAllTransportsAndThreads) {
  const LoopbackServer server(alwaysSend(response_), authority_.serverContext(kOwnName));
  const auto anchors = anchorsIn(authority_.certificateFile());
  CurlTransport first(trusting(anchors));
  CurlTransport second(trusting(anchors));
  EXPECT_EQ(anchors->loadCount(), 0);

  std::atomic<int> succeeded{0};
  std::vector<std::thread> threads;
  threads.reserve(8);
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&, i] {
      CurlTransport& transport = i % 2 == 0 ? first : second;
      succeeded += transport.send(server.request(Method::Get, "/")).status == 200 ? 1 : 0;
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(succeeded, 8);
  EXPECT_EQ(anchors->loadCount(), 1);
}

TEST_F(CurlTransportTls, AnchorsAreNotLoadedForPlainConnections) {
  const LoopbackServer server(alwaysSend(response_));
  const auto anchors = anchorsIn(authority_.certificateFile());
  EXPECT_EQ(CurlTransport(trusting(anchors)).send(server.request(Method::Get, "/")).status, 200);
  EXPECT_EQ(anchors->loadCount(), 0);
}

TEST_F(CurlTransportTls, ErrorOfAnUnreadableFileNamesIt) {
  const LoopbackServer server(alwaysSend(response_), authority_.serverContext(kOwnName));
  const auto anchors = anchorsIn("/nonexistent/anchors.pem");
  const Response response = CurlTransport(trusting(anchors)).send(server.request(Method::Get, "/"));
  expectUntrusted(response, "CURLE_SSL_CACERT_BADFILE");
  EXPECT_THAT(response.failure->message, HasSubstr("SSL_CERT_FILE"));
  EXPECT_THAT(response.failure->message, HasSubstr("/nonexistent/anchors.pem"));
  EXPECT_EQ(anchors->loadCount(), 0);
}

TEST(TrustAnchors, SourcesComeFromTheEnvironment) {
  ::setenv("SSL_CERT_FILE", "/some/file", 1);
  ::setenv("SSL_CERT_DIR", "/some/folder", 1);
  const auto given = TrustAnchors::sourcesFromEnvironment();
  ::unsetenv("SSL_CERT_FILE");
  ::unsetenv("SSL_CERT_DIR");
  const auto unset = TrustAnchors::sourcesFromEnvironment();
  EXPECT_EQ(given.file, "/some/file");
  EXPECT_EQ(given.directory, "/some/folder");
  EXPECT_EQ(unset.file, "");
  EXPECT_EQ(unset.directory, "");
}

TEST(TrustAnchors, SourcesOfAPrivilegedProcessAreTheDefaults) {
  ::setenv("SSL_CERT_FILE", "/some/file", 1);
  ::setenv("SSL_CERT_DIR", "/some/folder", 1);
  isPrivileged = true;
  const auto sources = TrustAnchors::sourcesFromEnvironment();
  isPrivileged = false;
  ::unsetenv("SSL_CERT_FILE");
  ::unsetenv("SSL_CERT_DIR");
  EXPECT_EQ(sources.file, "");
  EXPECT_EQ(sources.directory, "");
}

TEST(TrustAnchors, DefaultSourcesCanBeLoaded) {
  TrustAnchors anchors({});
  const std::shared_ptr<SSL_CTX> context(SSL_CTX_new(TLS_client_method()), SSL_CTX_free);
  const auto status = anchors.applyTo(context.get());
  EXPECT_TRUE(status.isSuccess()) << status.toString();
  EXPECT_EQ(anchors.loadCount(), 1);
}

// OpenSSL's own configuration refuses old protocols, too. One that allows them shows what is
// refused by the transport; it has to be in place before the process starts.
class OutdatedTlsDeathTest : public CurlTransportTls {
 protected:
  OutdatedTlsDeathTest() {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    ::setenv("OPENSSL_CONF", configuration_.path().c_str(), 1);
  }
  ~OutdatedTlsDeathTest() override { ::unsetenv("OPENSSL_CONF"); }

  /// Ends the process with 0 if a server that supports at most `version` is refused.
  [[noreturn]] void endWithRefusalOf(int version) {
    const auto context = authority_.serverContext(kOwnName);
    SSL_CTX_set_max_proto_version(context.get(), version);
    const LoopbackServer server(alwaysSend(response_), context);
    const Response response = getFrom(server);
    const bool refused = response.failure && response.failure->name == "CURLE_SSL_CONNECT_ERROR" &&
                         response.failure->kind == TransportFailure::Kind::Unreachable;
    std::_Exit(refused ? 0 : 1);
  }

  const TestSupport::MemoryFile configuration_{
      "openssl_conf = all\n[all]\nssl_conf = tls\n[tls]\nsystem_default = lax\n"
      "[lax]\nMinProtocol = TLSv1\nCipherString = DEFAULT:@SECLEVEL=0\n"};
};

TEST_F(OutdatedTlsDeathTest, Version11IsRefused) {
  EXPECT_EXIT(endWithRefusalOf(TLS1_1_VERSION), testing::ExitedWithCode(0), "");
}

TEST_F(OutdatedTlsDeathTest, Version12IsNot) {
  EXPECT_EXIT(endWithRefusalOf(TLS1_2_VERSION), testing::ExitedWithCode(1), "");
}

// The anchors of the process are read from its environment once, so these run in fresh processes.
class ProcessTrustAnchorsDeathTest : public CurlTransportTls {
 protected:
  ProcessTrustAnchorsDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }

  /// Ends the process with 0 if the server is trusted with `file` in the environment.
  [[noreturn]] void endWithTrustIn(const std::string& file) {
    const LoopbackServer server(alwaysSend(response_), authority_.serverContext(kOwnName));
    ::unsetenv("SSL_CERT_DIR");
    ::setenv("SSL_CERT_FILE", file.c_str(), 1);
    CurlTransport transport({});
    ::setenv("SSL_CERT_FILE", "/set/too/late", 1);
    const Response response = transport.send(server.request(Method::Get, "/"));
    std::_Exit(response.status == 200 ? 0 : 1);
  }
};

// libcurl opens the file when it is initialised.
TEST_F(ProcessTrustAnchorsDeathTest, PrivilegedProcessLogsNoKeys) {
  for (const bool privileged : {false, true}) {
    TestSupport::inFreshProcess([this, privileged] {
      const TestSupport::MemoryFile keys("");
      ::setenv("SSLKEYLOGFILE", keys.path().c_str(), 1);
      isPrivileged = privileged;
      const LoopbackServer server(alwaysSend(response_), authority_.serverContext(kOwnName));
      CurlTransport transport(trusting(anchorsIn(authority_.certificateFile())));
      EXPECT_EQ(transport.send(server.request(Method::Get, "/")).status, 200);
      EXPECT_EQ(std::ifstream(keys.path()).peek() == EOF, privileged);
    });
  }
}

TEST_F(ProcessTrustAnchorsDeathTest, FileOfTheEnvironmentIsTrusted) {
  EXPECT_EXIT(endWithTrustIn(authority_.certificateFile()), testing::ExitedWithCode(0), "");
}

TEST_F(ProcessTrustAnchorsDeathTest, OtherFileOfTheEnvironmentIsNot) {
  const TestAuthority other;
  EXPECT_EXIT(endWithTrustIn(other.certificateFile()), testing::ExitedWithCode(1), "");
}

}  // namespace
