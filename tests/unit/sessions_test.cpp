#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <string>
#include <typeinfo>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "CloudStorage/Client/S3/S3Client.h"
#include "CloudStorage/Util/Threading/DefaultExecutor.h"
#include "crypto_recorder.h"
#include "libvemlo/retry_strategies.h"
#include "support/log_capture.h"
#include "support/services.h"

namespace {

namespace Client = CloudStorage::Client;
using CloudStorage::Auth::AWSAuthCredential;
using CloudStorage::Auth::AzureSSBAuthentication;
using CloudStorage::Auth::OAuth2Credential;
using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::allServices;
using TestSupport::errorLine;
using TestSupport::kAzureAccessKey;
using TestSupport::LogCapture;
using TestSupport::OwnedSession;
using TestSupport::Service;

/// The classes of a service's client and its parts.
struct Equipment {
  const std::type_info* client;
  const std::type_info* credential;
  const std::type_info* retryStrategy;
  const std::type_info* errorMarshaller;
  bool hasExecutor;
};

template <typename ServiceClient, typename Credential, typename Strategy, typename Marshaller>
Equipment equipment(bool hasExecutor) {
  return {&typeid(ServiceClient), &typeid(Credential), &typeid(Strategy), &typeid(Marshaller),
          hasExecutor};
}

template <typename DriveClient, typename Strategy, typename Marshaller>
Equipment driveEquipment() {
  return equipment<DriveClient, OAuth2Credential, Strategy, Marshaller>(false);
}

const Equipment& equipmentOf(const Service& service) {
  static const std::map<std::string, Equipment> all = {
      {"S3", equipment<Client::S3::S3Client, AWSAuthCredential, S3RetryStrategy,
                       Client::S3::S3ErrorMarshaller>(true)},
      {"AzureSSB",
       equipment<Client::AzureSSB::AzureSSBClient, AzureSSBAuthentication, AzureSSBRetryStrategy,
                 Client::AzureSSB::AzureSSBErrorMarshaller>(true)},
      {"GoogleDrive",
       driveEquipment<Client::GoogleDrive::GoogleDriveClient, GoogleDriveRetryStrategy,
                      Client::GoogleDrive::GoogleDriveErrorMarshaller>()},
      {"AmazonDrive",
       driveEquipment<Client::AmazonDrive::AmazonDriveClient, AmazonDriveRetryStrategy,
                      Client::AmazonDrive::AmazonDriveErrorMarshaller>()},
      {"OneDrive", driveEquipment<Client::OneDrive::OneDriveClient, OneDriveRetryStrategy,
                                  Client::OneDrive::OneDriveErrorMarshaller>()},
      {"Dropbox", driveEquipment<Client::Dropbox::DropboxClient, DropboxRetryStrategy,
                                 Client::Dropbox::DropboxErrorMarshaller>()}};
  return all.at(service.name);
}

template <typename T>
const std::type_info& typeOf(const T& object) {
  return typeid(object);
}

class OpenSession : public testing::TestWithParam<Service> {
 protected:
  void open(const proxy_setting* proxy) {
    handle_.reset(GetParam().open(proxy));
    ASSERT_NE(handle_, nullptr);
    ASSERT_NE(GetParam().client(*handle_), nullptr);
  }

  const Client::ClientParts& parts() const { return GetParam().client(*handle_)->parts(); }

  LogCapture log_;
  OwnedSession handle_;
};

TEST_P(OpenSession, HoldsTheClientOfItsServiceAndNoOther) {
  open(nullptr);
  for (const auto& service : allServices()) {
    SCOPED_TRACE(service.name);
    EXPECT_EQ(service.client(*handle_) != nullptr, std::string(service.name) == GetParam().name);
  }
  EXPECT_EQ(typeOf(*GetParam().client(*handle_)), *equipmentOf(GetParam()).client);
  EXPECT_THAT(log_.records(), IsEmpty());
}

TEST_P(OpenSession, EquipsItsClientForTheService) {
  open(nullptr);
  const auto& expected = equipmentOf(GetParam());
  EXPECT_EQ(typeOf(*parts().credential), *expected.credential);
  EXPECT_EQ(typeOf(*parts().retryStrategy), *expected.retryStrategy);
  EXPECT_EQ(typeOf(*parts().errorMarshaller), *expected.errorMarshaller);
  ASSERT_EQ(parts().executor != nullptr, expected.hasExecutor);
  if (expected.hasExecutor) {
    EXPECT_EQ(typeOf(*parts().executor), typeid(CloudStorage::Util::Threading::DefaultExecutor));
  }
}

TEST_P(OpenSession, IsNotRateLimited) {
  open(nullptr);
  EXPECT_EQ(parts().readRateLimiter, nullptr);
  EXPECT_EQ(parts().writeRateLimiter, nullptr);
}

TEST_P(OpenSession, WithoutAProxyRecordHasAnEmptyProxy) {
  open(nullptr);
  EXPECT_EQ(parts().proxy.host, "");
  EXPECT_EQ(parts().proxy.port, 0);
  EXPECT_EQ(parts().proxy.username, "");
  EXPECT_EQ(parts().proxy.password, "");
}

TEST_P(OpenSession, UsesAllOfTheProxyRecord) {
  const proxy_setting proxy{"proxy.example", 65535, "user", "pass"};
  open(&proxy);
  EXPECT_EQ(parts().proxy.host, "proxy.example");
  EXPECT_EQ(parts().proxy.port, 65535);
  EXPECT_EQ(parts().proxy.username, "user");
  EXPECT_EQ(parts().proxy.password, "pass");
}

TEST_P(OpenSession, TreatsNullStringsOfTheProxyRecordAsEmpty) {
  const proxy_setting proxy{nullptr, 8080, nullptr, nullptr};
  open(&proxy);
  EXPECT_EQ(parts().proxy.host, "");
  EXPECT_EQ(parts().proxy.port, 8080);
  EXPECT_EQ(parts().proxy.username, "");
  EXPECT_EQ(parts().proxy.password, "");
}

TEST_P(OpenSession, CopiesTheProxyRecord) {
  std::string host = "proxy.example";
  std::string user = "user";
  std::string password = "pass";
  proxy_setting proxy{host.c_str(), 1, user.c_str(), password.c_str()};
  open(&proxy);
  proxy = {};
  host.assign(host.size(), 'x');
  user.assign(user.size(), 'x');
  password.assign(password.size(), 'x');
  EXPECT_EQ(parts().proxy.host, "proxy.example");
  EXPECT_EQ(parts().proxy.port, 1);
  EXPECT_EQ(parts().proxy.username, "user");
  EXPECT_EQ(parts().proxy.password, "pass");
}

TEST_P(OpenSession, OwnsTheClientsPartsThroughTheClientAlone) {
  open(nullptr);
  const std::weak_ptr<Client::WSErrorMarshaller> marshaller = parts().errorMarshaller;
  const std::weak_ptr<Client::RetryStrategy> strategy = parts().retryStrategy;
  const std::weak_ptr<CloudStorage::Auth::AuthorizationCredential> credential = parts().credential;
  handle_.reset();
  EXPECT_TRUE(marshaller.expired());
  EXPECT_TRUE(strategy.expired());
  EXPECT_TRUE(credential.expired());
}

TEST_P(OpenSession, SharesNothingWithAnotherSessionOfTheService) {
  open(nullptr);
  const OwnedSession other(GetParam().open(nullptr));
  const auto& otherParts = GetParam().client(*other)->parts();
  EXPECT_NE(GetParam().client(*handle_), GetParam().client(*other));
  EXPECT_NE(parts().credential, otherParts.credential);
  EXPECT_NE(parts().retryStrategy, otherParts.retryStrategy);
  EXPECT_NE(parts().errorMarshaller, otherParts.errorMarshaller);
}

TEST_P(OpenSession, KeepsTheCryptoLibraryInitialisedUntilItIsClosed) {
  const UnitTests::CryptoRecorder crypto;
  open(nullptr);
  EXPECT_EQ(crypto.initializersMade, 1);
  EXPECT_EQ(crypto.initializersDestroyed, 0);
  handle_.reset();
  EXPECT_EQ(crypto.initializersMade, 1);
  EXPECT_EQ(crypto.initializersDestroyed, 1);
}

INSTANTIATE_TEST_SUITE_P(Services, OpenSession, testing::ValuesIn(allServices()),
                         TestSupport::ServiceName());

TEST(SessionRecord, HasItsMembersInTheReverseOrderOfTheirDestruction) {
  const session handle;
  const auto address = [](const auto& member) { return reinterpret_cast<const char*>(&member); };
  EXPECT_EQ(address(handle.s3_client), reinterpret_cast<const char*>(&handle));
  EXPECT_LT(address(handle.s3_client), address(handle.google_drive_client));
  EXPECT_LT(address(handle.google_drive_client), address(handle.amazon_drive_client));
  EXPECT_LT(address(handle.amazon_drive_client), address(handle.dropbox_client));
  EXPECT_LT(address(handle.dropbox_client), address(handle.one_drive_client));
  EXPECT_LT(address(handle.one_drive_client), address(handle.azure_ssb_client));
  EXPECT_LT(address(handle.azure_ssb_client), address(handle.openssl_initializer));
}

TEST(S3Session, SignsWithTheKeyPairForTheGlobalRegion) {
  const OwnedSession handle(libvemlo_s3_init("https://s3.example", "", "AKID", "s3cret", nullptr));
  const auto& credential = dynamic_cast<AWSAuthCredential&>(*handle->s3_client->credential());
  EXPECT_EQ(credential.accessKey(), "AKID");
  EXPECT_EQ(credential.secretKey(), "s3cret");
  EXPECT_EQ(credential.serviceName(), "s3");
  EXPECT_EQ(credential.region(), AWSAuthCredential::DEFAULT_GLOBAL_REGION);
}

TEST(S3Session, AcceptsEmptyStrings) {
  const OwnedSession handle(libvemlo_s3_init("", "", "", "", nullptr));
  ASSERT_NE(handle->s3_client, nullptr);
  EXPECT_TRUE(handle->s3_client->credential()->isEmpty());
}

TEST(S3Session, HasNoOAuth2CredentialToRefresh) {
  const LogCapture log;
  const OwnedSession handle(TestSupport::openS3(nullptr));
  Client::Error unauthorized;
  unauthorized.httpResponseCode = 401;
  EXPECT_FALSE(handle->s3_client->parts().retryStrategy->shouldRetry(unauthorized, 0));
  EXPECT_THAT(log.records(), IsEmpty());
}

TEST(AzureSSBSession, AuthenticatesWithTheAccountsDecodedKey) {
  const OwnedSession handle(libvemlo_azure_ssb_init("", "account", kAzureAccessKey, nullptr));
  const auto& client = *handle->azure_ssb_client;
  EXPECT_EQ(client.accountName(), "account");
  const auto& authentication = dynamic_cast<AzureSSBAuthentication&>(*client.credential());
  EXPECT_EQ(authentication.accountName(), "account");
  EXPECT_EQ(authentication.decodedKey(), "secret");
}

TEST(AzureSSBSession, IsOfTheCloudThatTheRegionBelongsTo) {
  using Client::AzureSSB::Region;
  const std::pair<const char*, Region> regions[] = {{"westeurope", Region::Global},
                                                    {"", Region::Global},
                                                    {"China North", Region::China},
                                                    {"germanycentral", Region::Germany},
                                                    {"usgovvirginia", Region::USGovernment}};
  for (const auto& [name, region] : regions) {
    SCOPED_TRACE(name);
    const OwnedSession handle(libvemlo_azure_ssb_init(name, "account", kAzureAccessKey, nullptr));
    EXPECT_EQ(handle->azure_ssb_client->region(), region);
  }
}

TEST(AzureSSBSession, IsNotOpenedWithANullStringAndNothingIsLogged) {
  const LogCapture log;
  const UnitTests::CryptoRecorder crypto;
  EXPECT_EQ(libvemlo_azure_ssb_init(nullptr, "account", kAzureAccessKey, nullptr), nullptr);
  EXPECT_EQ(libvemlo_azure_ssb_init("", nullptr, kAzureAccessKey, nullptr), nullptr);
  EXPECT_EQ(libvemlo_azure_ssb_init("", "account", nullptr, nullptr), nullptr);
  EXPECT_EQ(libvemlo_azure_ssb_init(nullptr, nullptr, nullptr, nullptr), nullptr);
  // Nor is an invalid key logged then.
  EXPECT_EQ(libvemlo_azure_ssb_init(nullptr, "account", "%", nullptr), nullptr);
  EXPECT_THAT(log.records(), IsEmpty());
  EXPECT_EQ(crypto.initializersMade, 0);
}

TEST(AzureSSBSession, IsNotOpenedWithAKeyThatIsNotBase64AndLogsOneLine) {
  for (const char* key : {"not base64!", "c2VjcmV", "c2VjcmV0=", "", "c2Vj cmV0"}) {
    SCOPED_TRACE(key);
    const LogCapture log;
    const UnitTests::CryptoRecorder crypto;
    EXPECT_EQ(libvemlo_azure_ssb_init("", "account", key, nullptr), nullptr);
    EXPECT_THAT(log.records(), ElementsAre(errorLine("Failed to decode AzureSSB access key.")));
    EXPECT_EQ(crypto.initializersMade, 0);
  }
}

}  // namespace
