// Requests that must not run twice, on connections that the server closes instead of responding to
// their second request.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "support/drives.h"
#include "support/loopback_server.h"
#include "support/loopback_transport.h"

namespace {

namespace Client = CloudStorage::Client;
using CloudStorage::Auth::OAuth2RequestOptions;
using ::testing::SizeIs;
using TestSupport::httpResponse;
using TestSupport::LoopbackServer;

/// How a drive lists a folder and creates one.
template <typename Drive>
struct Operation;

template <>
struct Operation<TestSupport::AmazonDrive> {
  static constexpr char kCreated[] = R"({"id":"7"})";
  static bool list(const Client::AmazonDrive::AmazonDriveClient& client) {
    Client::AmazonDrive::Model::ListFileResourceRequest request;
    request.endpoint = TestSupport::kMetadataEndpoint;
    return client.listFileResource(request).isSuccess();
  }
  static bool create(const Client::AmazonDrive::AmazonDriveClient& client) {
    Client::AmazonDrive::Model::FileRequest request;
    request.endpoint = TestSupport::kMetadataEndpoint;
    request.name = "new";
    return client.folderCreate(request).isSuccess();
  }
};

template <>
struct Operation<TestSupport::Dropbox> {
  static constexpr char kCreated[] =
      R"({"metadata":{"id":"7","path_display":"/new"},"entries":[]})";
  static bool list(const Client::Dropbox::DropboxClient& client) {
    Client::Dropbox::Model::ListFolderRequest request;
    request.path = "";
    return client.listFolder(request).isSuccess();
  }
  static bool create(const Client::Dropbox::DropboxClient& client) {
    Client::Dropbox::Model::CreateFolderRequest request;
    request.path = "/new";
    return client.createFolder(request).isSuccess();
  }
};

template <>
struct Operation<TestSupport::GoogleDrive> {
  static constexpr char kCreated[] = R"({"id":"7"})";
  static bool list(const Client::GoogleDrive::GoogleDriveClient& client) {
    return client.listFileResource({}).isSuccess();
  }
  static bool create(const Client::GoogleDrive::GoogleDriveClient& client) {
    Client::GoogleDrive::Model::UploadFileRequest request;
    request.name = "new";
    return client.uploadFile(request).isSuccess();
  }
};

template <>
struct Operation<TestSupport::OneDrive> {
  static constexpr char kCreated[] = R"({"id":"7","value":[]})";
  static bool list(const Client::OneDrive::OneDriveClient& client) {
    Client::OneDrive::Model::ListChildrenRequest request;
    request.itemId = "root";
    return client.listChildren(request).isSuccess();
  }
  static bool create(const Client::OneDrive::OneDriveClient& client) {
    Client::OneDrive::Model::CreateFolderRequest request;
    request.parentItemId = "root";
    request.name = "new";
    return client.createFolder(request).isSuccess();
  }
};

/// A response that every operation of `Drive` and every token request can use.
template <typename Drive>
std::string usualResponse() {
  const std::string created = Operation<Drive>::kCreated;
  return httpResponse("200 OK", R"({"access_token":"new","refresh_token":"rotated",)" +
                                    created.substr(1, std::string::npos));
}

/// Responds to the first request of each connection and closes the connection after the second.
LoopbackServer::Script closeAtTheSecondRequest(const std::string& response) {
  return [response](LoopbackServer::Connection& connection) {
    if (connection.readRequest() && connection.send(response)) connection.readRequest();
  };
}

template <typename Drive>
class SentOnce : public ::testing::Test, protected TestSupport::DriveFixture<Drive> {
 protected:
  std::shared_ptr<typename Drive::Client> makeClientOf(const LoopbackServer& service) {
    Client::ClientEnvironment environment = TestSupport::DriveFixture<Drive>::environment();
    environment.transport = std::make_shared<TestSupport::LoopbackTransport>(service);
    return std::make_shared<typename Drive::Client>(this->makeSpec(), this->makeParts(),
                                                    environment);
  }

  LoopbackServer server{closeAtTheSecondRequest(usualResponse<Drive>())};
  std::shared_ptr<typename Drive::Client> client = makeClientOf(server);
};

TYPED_TEST_SUITE(SentOnce, TestSupport::Drives, TestSupport::DriveName);

TYPED_TEST(SentOnce, CreationIsSentOnceAfterAListing) {
  ASSERT_TRUE(Operation<TypeParam>::list(*this->client));
  EXPECT_TRUE(Operation<TypeParam>::create(*this->client));
  EXPECT_THAT(this->server.requests(), SizeIs(2));
}

TYPED_TEST(SentOnce, EachCreationIsSentOnce) {
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(Operation<TypeParam>::create(*this->client));
  EXPECT_THAT(this->server.requests(), SizeIs(3));
}

TYPED_TEST(SentOnce, AuthorizationCodeIsSentOnce) {
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(
        this->client->exchangeAuthorizationCode("code", OAuth2RequestOptions(), *this->credential)
            .isSuccess());
  }
  EXPECT_THAT(this->server.requests(), SizeIs(3));
}

TYPED_TEST(SentOnce, RefreshTokenIsSentOnce) {
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(this->credential->refreshAccessToken().isSuccess());
  EXPECT_THAT(this->server.requests(), SizeIs(3));
}

// A creation pays for a connection; the calls after it do not.
TYPED_TEST(SentOnce, ListingsShareTheConnectionOfACreation) {
  const LoopbackServer patient(TestSupport::alwaysSend(usualResponse<TypeParam>()));
  const auto other = this->makeClientOf(patient);
  EXPECT_TRUE(Operation<TypeParam>::create(*other));
  for (int i = 0; i < 3; ++i) EXPECT_TRUE(Operation<TypeParam>::list(*other));
  EXPECT_EQ(patient.connectionCount(), 1U);
}

}  // namespace
