#include <gmock/gmock.h>
#include <sys/stat.h>

#include <chrono>
#include <cstdio>
#include <fstream>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "binding_fixture.h"

namespace CppBinding {
namespace {

using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using TestSupport::alwaysSend;
using TestSupport::LoopbackServer;
using vemlo::Kind;
using vemlo::Service;

vemlo::Settings withApplication(Service service, std::string id) {
  vemlo::Settings settings;
  settings.applications = {{service, std::move(id), "secret", "https://host.example/back"}};
  return settings;
}

TEST(CppLibrary, ApplicationAppliesUntilTheNextLibrary) {
  const std::string id = "an-application";
  {
    const vemlo::Library library(withApplication(Service::OneDrive, id));
    const auto url = vemlo::Drive(Service::OneDrive).authorizeUrl();
    EXPECT_THAT(url, HasSubstr("client_id=" + id));
    EXPECT_THAT(url, HasSubstr("redirect_uri=https%3A%2F%2Fhost.example%2Fback"));
  }
  const vemlo::Library library;
  EXPECT_THAT(vemlo::Drive(Service::OneDrive).authorizeUrl(), Not(HasSubstr(id)));
}

TEST(CppLibrary, UnusableApplicationIsAFailure) {
  EXPECT_THROW(vemlo::Library(withApplication(Service::OneDrive, "")), vemlo::Failure);
  EXPECT_THROW(vemlo::Library(withApplication(Service::S3, "id")), vemlo::Failure);
  const vemlo::Library library;  // nothing of it remains
}

TEST(CppLibrary, ConsentIsBoundToTheSessionUnlessSwitchedOff) {
  vemlo::Settings settings;
  {
    const vemlo::Library library(settings);
    EXPECT_THAT(vemlo::Drive(Service::GoogleDrive).authorizeUrl(), HasSubstr("code_challenge="));
  }
  settings.pkce = false;
  const vemlo::Library library(settings);
  EXPECT_THAT(vemlo::Drive(Service::GoogleDrive).authorizeUrl(), Not(HasSubstr("code_challenge=")));
}

TEST(CppLibrary, SessionsMayBeOpenedOnAnyThread) {
  const vemlo::Library library;
  std::vector<std::thread> threads;
  threads.reserve(16);
  for (int i = 0; i < 16; ++i) {
    threads.emplace_back([] { vemlo::Drive(Service::Dropbox).setTokens({"access", ""}); });
  }
  for (auto& thread : threads) thread.join();
}

TEST(CppLibrary, TrustIsThatOfTheSettings) {
  vemlo::Settings settings;
  settings.trustFile = "/there/is/no/such/file";
  const vemlo::Library library(settings);
  const LoopbackServer server(alwaysSend(""));
  const vemlo::S3 store({"https://127.0.0.1:" + std::to_string(server.port()), "", "k", "s"});
  EXPECT_THROW(store.buckets(), vemlo::Failure);
}

class CppSessions : public BindingTest {};

TEST_F(CppSessions, StateStandsInOneAddress) {
  const vemlo::Drive drive(Service::AmazonDrive);
  EXPECT_THAT(drive.authorizeUrl("my-state"), HasSubstr("state=my-state"));
  EXPECT_THAT(drive.authorizeUrl(), Not(HasSubstr("my-state")));
  EXPECT_EQ(failureOf([&] { drive.authorizeUrl(std::string(501, 's')); }).kind(), Kind::HostFault);
}

TEST_F(CppSessions, OnlyOneDriveHasALogoutAddress) {
  EXPECT_THAT(vemlo::Drive(Service::OneDrive).logoutUrl(), HasSubstr("logout"));
  for (const auto service : {Service::AmazonDrive, Service::GoogleDrive, Service::Dropbox}) {
    EXPECT_THAT(vemlo::Drive(service).logoutUrl(), IsEmpty());
  }
}

TEST_F(CppSessions, RootOfDropboxIsKnown) {
  const auto root = vemlo::Drive(Service::Dropbox).root();
  EXPECT_EQ(root.id, "/");
  EXPECT_EQ(root.name, "/");
}

TEST_F(CppSessions, ObjectStoreIsNoDrive) {
  EXPECT_EQ(failureOf([] { vemlo::Drive drive(Service::S3); }).kind(), Kind::HostFault);
}

TEST_F(CppSessions, AzureKeyThatIsNotBase64IsAWrongKey) {
  EXPECT_EQ(failureOf([] { vemlo::AzureBlobs({"", "account", "!"}); }).kind(), Kind::WrongKeys);
}

TEST_F(CppSessions, LocationsEndBeforeTheEndOfTheTable) {
  EXPECT_EQ(vemlo::locationsOf(vemlo::Flavour::Customized).size(), 1U);
  EXPECT_THAT(vemlo::locationsOf(vemlo::Flavour::Customized).front().name, IsEmpty());
  for (const auto flavour : {vemlo::Flavour::Aws, vemlo::Flavour::China, vemlo::Flavour::Wasabi}) {
    for (const auto& location : vemlo::locationsOf(flavour)) {
      EXPECT_THAT(location.name, Not(IsEmpty()));
      EXPECT_NE(location.code, 17);
    }
  }
}

TEST_F(CppSessions, TextsAreEncryptedAndDecrypted) {
  EXPECT_EQ(vemlo::decrypt(vemlo::encrypt("a secret")), "a secret");
  EXPECT_EQ(vemlo::decrypt(vemlo::encrypt("")), "");
  EXPECT_THROW(vemlo::decrypt("no base64!"), vemlo::Failure);
}

class CppRecording : public BindingTest {
 protected:
  CppRecording() { std::remove(path_.c_str()); }
  ~CppRecording() override { std::remove(path_.c_str()); }

  const std::string path_ = ::testing::TempDir() + "cpp_recording.har";
};

TEST_F(CppRecording, HoldsTheRequests) {
  const LoopbackServer server(alwaysSend(buckets()));
  vemlo::Recording recording(path_);
  storeOf(server).buckets();
  recording.stop();
  recording.stop();  // does nothing
  std::ifstream file(path_);
  const std::string text{std::istreambuf_iterator<char>(file), {}};
  EXPECT_THAT(text, HasSubstr("ListAllMyBucketsResult"));
}

TEST_F(CppRecording, EndsWithItsObject) {
  { const vemlo::Recording recording(path_); }
  EXPECT_EQ(vemlo_client_stop_recording(), -1);
}

TEST_F(CppRecording, FileThatExistsIsAnError) {
  std::ofstream(path_) << "kept";
  EXPECT_THROW(vemlo::Recording{path_}, std::system_error);
  EXPECT_THROW(vemlo::Recording{""}, vemlo::Failure);
}

}  // namespace
}  // namespace CppBinding
