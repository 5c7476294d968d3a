#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>

#include "CloudStorage/Auth/AWSAuthCredential.h"
#include "support/drives.h"
#include "support/loopback_server.h"

namespace {

using CloudStorage::Auth::AWSAuthCredential;
using CloudStorage::Auth::OAuth2ClientSpec;
using CloudStorage::Auth::OAuth2Credential;
using CloudStorage::Client::ClientEnvironment;
using CloudStorage::Client::ClientParts;
using CloudStorage::Client::Error;
using CloudStorage::Client::RetryStrategy;
using CloudStorage::Client::WSErrorMarshaller;
using CloudStorage::Config::ProxySetting;
using CloudStorage::Util::RateLimiter;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::SizeIs;

class NoRetries : public RetryStrategy {
 public:
  bool shouldRetry(const Error&, unsigned long) const override { return false; }
  long getDelayBeforeNextRetry(const Error&, unsigned long) const override { return 0; }
};

class EmptyMarshaller : public WSErrorMarshaller {
 public:
  CloudStorage::Client::Service service() const override {
    return CloudStorage::Client::Service::GoogleDrive;
  }
  Error marshall(const CloudStorage::Http::Response&, CloudStorage::Http::Method) const override {
    return {};
  }
};

class Unlimited : public RateLimiter {
 public:
  void acquire(std::uint64_t) override {}
};

OAuth2ClientSpec clientSpec(std::string tokenEndpoint) {
  OAuth2ClientSpec spec;
  spec.clientId = "id";
  spec.clientSecret = "secret";
  spec.tokenEndpoint = std::move(tokenEndpoint);
  return spec;
}

constexpr char kTokenEndpoint[] = "https://login.example.test/token";

template <typename Drive>
class DriveClient : public ::testing::Test {
 protected:
  using Client = typename Drive::Client;

  DriveClient() { credential->setTokens("old", "refresh"); }

  std::shared_ptr<Client> makeScripted() {
    ClientParts parts;
    parts.credential = credential;
    ClientEnvironment environment;
    environment.transport = transport;
    return std::make_shared<Client>(clientSpec(kTokenEndpoint), parts, environment);
  }

  std::shared_ptr<Client> makeReal(const std::string& tokenEndpoint, const ProxySetting& proxy) {
    return std::make_shared<Client>(clientSpec(tokenEndpoint), credential, nullptr, nullptr,
                                    nullptr, nullptr, proxy);
  }

  std::shared_ptr<OAuth2Credential> credential = std::make_shared<OAuth2Credential>();
  std::shared_ptr<TestSupport::ScriptedTransport> transport =
      std::make_shared<TestSupport::ScriptedTransport>();
};
TYPED_TEST_SUITE(DriveClient, TestSupport::Drives, TestSupport::DriveName);

TYPED_TEST(DriveClient, KeepsItsParts) {
  const auto retryStrategy = std::make_shared<NoRetries>();
  const auto marshaller = std::make_shared<EmptyMarshaller>();
  const auto readLimiter = std::make_shared<Unlimited>();
  const auto writeLimiter = std::make_shared<Unlimited>();
  const auto client = std::make_shared<typename TypeParam::Client>(
      clientSpec(kTokenEndpoint), this->credential, retryStrategy, marshaller, readLimiter,
      writeLimiter, ProxySetting{"proxy.example.test", 3128, "user", "password"});

  EXPECT_EQ(client->clientSpec().tokenEndpoint, kTokenEndpoint);
  EXPECT_EQ(client->credential(), this->credential);
  const auto& parts = client->parts();
  EXPECT_EQ(parts.retryStrategy, retryStrategy);
  EXPECT_EQ(parts.errorMarshaller, marshaller);
  EXPECT_EQ(parts.readRateLimiter, readLimiter);
  EXPECT_EQ(parts.writeRateLimiter, writeLimiter);
  EXPECT_EQ(parts.executor, nullptr);
  EXPECT_EQ(parts.proxy.host, "proxy.example.test");
  EXPECT_EQ(parts.proxy.port, 3128);
  EXPECT_EQ(parts.proxy.username, "user");
  EXPECT_EQ(parts.proxy.password, "password");
}

TYPED_TEST(DriveClient, HandsOutReferencesToItself) {
  const auto client = this->makeScripted();
  EXPECT_EQ(client->shared_from_this(), client);
}

TYPED_TEST(DriveClient, ConstructionSendsNothing) {
  const auto client = this->makeScripted();
  EXPECT_THAT(this->transport->requests(), IsEmpty());
}

TYPED_TEST(DriveClient, ItsCredentialIsRefreshedAtItsTokenEndpoint) {
  const auto client = this->makeScripted();
  this->transport->enqueue(TestSupport::response(200, R"({"access_token":"new"})"));
  EXPECT_TRUE(this->credential->refreshAccessToken().isSuccess());
  EXPECT_EQ(this->credential->accessToken(), "new");
  ASSERT_THAT(this->transport->requests(), SizeIs(1));
  EXPECT_EQ(this->transport->requests()[0].uri.toString(), kTokenEndpoint);
}

TYPED_TEST(DriveClient, ItsCredentialCanBeRefreshedAfterItsDestruction) {
  this->makeScripted();
  this->transport->enqueue(TestSupport::response(200, R"({"access_token":"new"})"));
  EXPECT_TRUE(this->credential->refreshAccessToken().isSuccess());
}

TYPED_TEST(DriveClient, NothingOutlivesItsLastReference) {
  auto client = this->makeScripted();
  const std::weak_ptr<typename TypeParam::Client> weakClient = client;
  const std::weak_ptr<OAuth2Credential> weakCredential = this->credential;
  const std::weak_ptr<TestSupport::ScriptedTransport> weakTransport = this->transport;

  this->credential.reset();
  this->transport.reset();
  client.reset();
  EXPECT_TRUE(weakClient.expired());
  EXPECT_TRUE(weakCredential.expired());
  EXPECT_TRUE(weakTransport.expired());
}

TYPED_TEST(DriveClient, AcceptsPartsWithoutAnOAuth2Credential) {
  ClientParts parts;
  EXPECT_EQ(std::make_shared<typename TypeParam::Client>(clientSpec(kTokenEndpoint), parts,
                                                         ClientEnvironment{})
                ->credential(),
            nullptr);
  parts.credential = std::make_shared<AWSAuthCredential>("key", "secret", "s3", "region");
  EXPECT_EQ(std::make_shared<typename TypeParam::Client>(clientSpec(kTokenEndpoint), parts,
                                                         ClientEnvironment{})
                ->credential(),
            parts.credential);
}

TYPED_TEST(DriveClient, RefreshesOverTheNetworkWithoutASubstitute) {
  const TestSupport::RefusingPort port;
  const auto client =
      this->makeReal("http://127.0.0.1:" + std::to_string(port.number()) + "/token", {});
  const auto status = this->credential->refreshAccessToken();
  EXPECT_EQ(status.getCode(), -1);
  EXPECT_THAT(status.toString(), HasSubstr("CURLE_COULDNT_CONNECT"));
  EXPECT_EQ(this->credential->accessToken(), "old");
}

TYPED_TEST(DriveClient, RefreshesThroughItsProxy) {
  const TestSupport::RefusingPort port;
  // Without the proxy the name would have to be resolved, which fails with another code.
  const auto client =
      this->makeReal("http://login.invalid/token", {"127.0.0.1", port.number(), "", ""});
  EXPECT_THAT(this->credential->refreshAccessToken().toString(),
              HasSubstr("CURLE_COULDNT_CONNECT"));
}

}  // namespace
