// The function of the C interface for trusted certificates.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "Config/ProcessSettings.h"
#include "Http/CurlTransport.h"
#include "libvemlo_service_client.h"
#include "support/loopback_server.h"
#include "support/settings_guard.h"
#include "support/test_authority.h"

namespace {

using CloudStorage::Config::ProcessSettings;
using CloudStorage::Http::CurlTransport;
using CloudStorage::Http::Method;
using ::testing::HasSubstr;
using ::testing::Not;
using TestSupport::LoopbackServer;
using TestSupport::TestAuthority;

/// A folder with the certificate of an authority under its hashed name.
class HashedFolder {
 public:
  explicit HashedFolder(const std::string& certificateFile) {
    if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("there is no folder");
    std::filesystem::copy_file(certificateFile, path() + '/' + nameOf(certificateFile));
  }
  ~HashedFolder() { std::filesystem::remove_all(path()); }
  HashedFolder(const HashedFolder&) = delete;
  HashedFolder& operator=(const HashedFolder&) = delete;

  std::string path() const { return path_.data(); }

 private:
  static std::string nameOf(const std::string& certificateFile) {
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(
        std::fopen(certificateFile.c_str(), "r"), std::fclose);
    const std::unique_ptr<X509, void (*)(X509*)> certificate(
        PEM_read_X509(file.get(), nullptr, nullptr, nullptr), X509_free);
    std::array<char, 16> name{};
    std::snprintf(name.data(), name.size(), "%08lx.0", X509_subject_name_hash(certificate.get()));
    return name.data();
  }

  std::string path_ = (std::filesystem::temp_directory_path() / "trust-XXXXXX").string();
};

/// A server whose authority the system does not know.
class SetTrust : public ::testing::Test {
 protected:
  // "trusted", or the reason why the server is not trusted.
  std::string get(CurlTransport& transport) const {
    const auto response = transport.send(server_.request(Method::Get, "/"));
    if (!response.failure) return "trusted";
    return response.failure->name + ": " + response.failure->message;
  }
  std::string getInNewSession() const {
    CurlTransport transport({});
    return get(transport);
  }

  const TestAuthority authority_;
  const LoopbackServer server_{TestSupport::alwaysSend(TestSupport::httpResponse("200 OK", "ok")),
                               authority_.serverContext("IP:127.0.0.1")};

 private:
  TestSupport::SettingsGuard guard_;
};

TEST_F(SetTrust, FileIsTrustedBySessionsThatAreOpenedLater) {
  CurlTransport before({});
  ASSERT_EQ(vemlo_client_set_trust(authority_.certificateFile().c_str(), nullptr), 0);
  CurlTransport after({});
  ASSERT_EQ(vemlo_client_set_trust(nullptr, nullptr), 0);
  EXPECT_THAT(get(before), HasSubstr("CURLE_PEER_FAILED_VERIFICATION"));
  EXPECT_EQ(get(after), "trusted");
}

TEST_F(SetTrust, FolderIsTrusted) {
  const HashedFolder folder(authority_.certificateFile());
  ASSERT_EQ(vemlo_client_set_trust(nullptr, folder.path().c_str()), 0);
  EXPECT_EQ(getInNewSession(), "trusted");
}

TEST_F(SetTrust, BothAreTrusted) {
  const TestAuthority other;
  const HashedFolder folder(authority_.certificateFile());
  ASSERT_EQ(vemlo_client_set_trust(other.certificateFile().c_str(), folder.path().c_str()), 0);
  EXPECT_EQ(getInNewSession(), "trusted");
}

TEST_F(SetTrust, NothingElseIsTrusted) {
  const TestAuthority other;
  ASSERT_EQ(vemlo_client_set_trust(other.certificateFile().c_str(), ""), 0);
  EXPECT_THAT(getInNewSession(), HasSubstr("CURLE_PEER_FAILED_VERIFICATION"));
}

TEST_F(SetTrust, WithoutBothTheSystemIsTrustedAgain) {
  for (const char* none : {static_cast<const char*>(nullptr), ""}) {
    ASSERT_EQ(vemlo_client_set_trust(authority_.certificateFile().c_str(), nullptr), 0);
    ASSERT_EQ(vemlo_client_set_trust(none, none), 0);
    EXPECT_EQ(ProcessSettings::current()->trustAnchors, nullptr);
    EXPECT_THAT(getInNewSession(), HasSubstr("CURLE_PEER_FAILED_VERIFICATION"));
  }
}

TEST_F(SetTrust, FileThatCannotBeReadFailsTheRequestAndIsNamed) {
  ASSERT_EQ(vemlo_client_set_trust("/nonexistent/anchors.pem", nullptr), 0);
  const auto failure = getInNewSession();
  EXPECT_EQ(failure,
            "CURLE_SSL_CACERT_BADFILE: The host names a file without readable certificates: "
            "/nonexistent/anchors.pem");
}

TEST_F(SetTrust, FolderThatDoesNotExistHasNoCertificates) {
  ASSERT_EQ(vemlo_client_set_trust(nullptr, "/nonexistent"), 0);
  EXPECT_THAT(getInNewSession(), HasSubstr("CURLE_PEER_FAILED_VERIFICATION"));
}

TEST_F(SetTrust, CertificatesAreLoadedOnceForAllSessions) {
  ASSERT_EQ(vemlo_client_set_trust(authority_.certificateFile().c_str(), nullptr), 0);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(getInNewSession(), "trusted");
  EXPECT_EQ(ProcessSettings::current()->trustAnchors->loadCount(), 1);
}

}  // namespace
