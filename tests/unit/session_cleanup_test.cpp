#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <tuple>
#include <type_traits>
#include <vector>

#include "crypto_recorder.h"
#include "support/log_capture.h"
#include "support/mock_s3_client.h"
#include "support/services.h"

namespace {

namespace Client = CloudStorage::Client;
using testing::ElementsAre;
using TestSupport::allServices;
using TestSupport::Service;
using UnitTests::CryptoRecorder;

using Events = std::vector<std::string>;

/// A client that reports its destruction.
template <typename Base>
class Observed : public Base {
 public:
  template <typename... Arguments>
  explicit Observed(std::function<void()> onDestruction, Arguments&&... arguments)
      : Base(std::forward<Arguments>(arguments)...), onDestruction_(std::move(onDestruction)) {}
  ~Observed() override { onDestruction_(); }

 private:
  std::function<void()> onDestruction_;
};

template <typename DriveClient>
std::shared_ptr<DriveClient> makeDriveClient(const std::function<void()>& onDestruction) {
  return std::make_shared<Observed<DriveClient>>(
      onDestruction, CloudStorage::Auth::OAuth2ClientSpec{}, Client::ClientParts{},
      Client::ClientEnvironment{});
}

std::shared_ptr<Client::AzureSSB::AzureSSBClient> makeAzureClient(
    const std::function<void()>& onDestruction) {
  return std::make_shared<Observed<Client::AzureSSB::AzureSSBClient>>(
      onDestruction, "account", nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
      CloudStorage::Config::ProxySetting{}, Client::AzureSSB::Region::Global);
}

// A record in which every member is set, as in no real session, to show the order.
session* makeFullSession(Events& events) {
  const auto note = [&events](const char* what) {
    return [&events, what] { events.emplace_back(what); };
  };
  auto* handle = new session;
  handle->s3_client = new Observed<TestSupport::MockS3Client>(note("s3"));
  handle->google_drive_client =
      makeDriveClient<Client::GoogleDrive::GoogleDriveClient>(note("google_drive"));
  handle->amazon_drive_client =
      makeDriveClient<Client::AmazonDrive::AmazonDriveClient>(note("amazon_drive"));
  handle->dropbox_client = makeDriveClient<Client::Dropbox::DropboxClient>(note("dropbox"));
  handle->one_drive_client = makeDriveClient<Client::OneDrive::OneDriveClient>(note("one_drive"));
  handle->azure_ssb_client = makeAzureClient(note("azure_ssb"));
  return handle;
}

class Cleanup : public testing::TestWithParam<Service> {};

TEST_P(Cleanup, DoesNothingWithANullSession) {
  const TestSupport::LogCapture log;
  const CryptoRecorder crypto;
  GetParam().cleanup(nullptr);
  EXPECT_EQ(crypto.initializersDestroyed, 0);
  EXPECT_TRUE(log.records().empty());
}

TEST_P(Cleanup, DestroysTheS3ClientThenTheInitializerThenTheOthersInReverse) {
  Events events;
  CryptoRecorder crypto;
  crypto.onInitializerDestroyed = [&events] { events.emplace_back("openssl_initializer"); };
  GetParam().cleanup(makeFullSession(events));
  EXPECT_THAT(events, ElementsAre("s3", "openssl_initializer", "azure_ssb", "one_drive", "dropbox",
                                  "amazon_drive", "google_drive"));
}

TEST_P(Cleanup, KeepsSharedClientsThatAreStillInUse) {
  Events events;
  auto* handle = makeFullSession(events);
  auto google = handle->google_drive_client;
  auto amazon = handle->amazon_drive_client;
  auto dropbox = handle->dropbox_client;
  auto one = handle->one_drive_client;
  auto azure = handle->azure_ssb_client;

  GetParam().cleanup(handle);
  EXPECT_THAT(events, ElementsAre("s3"));
  EXPECT_EQ(google->clientSpec().clientId, "");  // not destroyed: the read is valid
  EXPECT_EQ(azure->accountName(), "account");

  google.reset();
  amazon.reset();
  dropbox.reset();
  one.reset();
  azure.reset();
  EXPECT_THAT(events, ElementsAre("s3", "google_drive", "amazon_drive", "dropbox", "one_drive",
                                  "azure_ssb"));
}

INSTANTIATE_TEST_SUITE_P(Functions, Cleanup, testing::ValuesIn(allServices()),
                         TestSupport::ServiceName());

// Every session through every cleanup function. The leak check of the process covers what the
// expectations here do not.
class AnyCleanup : public testing::TestWithParam<std::tuple<Service, Service>> {};

TEST_P(AnyCleanup, ReleasesTheSessionCompletely) {
  const auto& [opened, closer] = GetParam();
  const CryptoRecorder crypto;
  session* handle = opened.open(nullptr);
  ASSERT_NE(handle, nullptr);
  const auto& parts = opened.client(*handle)->parts();
  const std::weak_ptr<CloudStorage::Auth::AuthorizationCredential> credential = parts.credential;
  const std::weak_ptr<Client::RetryStrategy> strategy = parts.retryStrategy;

  closer.cleanup(handle);
  EXPECT_TRUE(credential.expired());  // and so is the client
  EXPECT_TRUE(strategy.expired());
  EXPECT_EQ(crypto.initializersDestroyed, 1);
}

INSTANTIATE_TEST_SUITE_P(Pairs, AnyCleanup,
                         testing::Combine(testing::ValuesIn(allServices()),
                                          testing::ValuesIn(allServices())),
                         [](const auto& instance) {
                           return std::string(std::get<0>(instance.param).name) + "SessionThrough" +
                                  std::get<1>(instance.param).name + "Cleanup";
                         });

TEST(Sessions, AreIndependentOfEachOther) {
  std::vector<session*> handles;
  for (const auto& service : allServices()) handles.push_back(service.open(nullptr));
  // Closing the first half does not change the others.
  for (std::size_t i = 0; i < 3; ++i) allServices()[i].cleanup(handles[i]);
  for (std::size_t i = 3; i < handles.size(); ++i) {
    EXPECT_NE(allServices()[i].client(*handles[i]), nullptr);
    EXPECT_NE(allServices()[i].client(*handles[i])->parts().credential, nullptr);
    allServices()[i].cleanup(handles[i]);
  }
}

TEST(Sessions, CanBeOpenedAndClosedOnSeveralThreadsAfterTheFirst) {
  constexpr int kThreads = 8;
  constexpr int kCalls = 40;
  libvemlo_s3_cleanup(libvemlo_s3_init("", "", "", "", nullptr));
  std::atomic<int> opened{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([&opened] {
      for (int call = 0; call < kCalls; ++call) {
        session* handle = libvemlo_google_drive_init(nullptr);
        if (handle != nullptr) ++opened;
        libvemlo_google_drive_cleanup(handle);
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(opened, kThreads * kCalls);
}

TEST(GlobalInit, InitialisesTheCryptoLibraryOnceACall) {
  const CryptoRecorder crypto;
  libvemlo_global_init();
  EXPECT_EQ(crypto.globalInitializations, 1);
  EXPECT_EQ(crypto.globalReleases, 0);
  libvemlo_global_cleanup();
  EXPECT_EQ(crypto.globalInitializations, 1);
  EXPECT_EQ(crypto.globalReleases, 1);
}

TEST(GlobalCleanup, DoesNotTouchOpenSessions) {
  libvemlo_global_init();
  const CryptoRecorder crypto;
  session* handle = libvemlo_dropbox_init(nullptr);
  libvemlo_global_cleanup();
  EXPECT_EQ(crypto.initializersDestroyed, 0);
  EXPECT_NE(handle->dropbox_client->credential(), nullptr);
  libvemlo_dropbox_cleanup(handle);
  EXPECT_EQ(crypto.initializersDestroyed, 1);
}

TEST(S3Client, IsDestroyedThroughItsBase) {
  static_assert(std::has_virtual_destructor_v<Client::S3::S3Client>);
  Events events;
  auto* handle = new session;
  handle->s3_client =
      new Observed<TestSupport::MockS3Client>([&events] { events.emplace_back("derived"); });
  libvemlo_s3_cleanup(handle);
  EXPECT_THAT(events, ElementsAre("derived"));
}

}  // namespace
