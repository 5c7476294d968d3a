#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>

#include "operation_fixture.h"
#include "support/mock_oauth2_client.h"

namespace UnitTests {

/// A session with a drive, the substitute for its client's part of the flow, and its tokens.
struct FlowSession {
  TestSupport::OwnedSession handle;
  std::weak_ptr<void> client;
  const TestSupport::MockOAuth2* oauth2;
  std::shared_ptr<CloudStorage::Auth::OAuth2Credential> credential;
};

template <const auto& kDrive>
FlowSession openFlowSession() {
  using Client = typename std::decay_t<decltype(kDrive)>::Client;
  const auto client =
      std::make_shared<testing::StrictMock<TestSupport::MockOAuth2Client<Client>>>();
  TestSupport::OwnedSession handle(new session);
  handle.get()->*kDrive.member = client;
  return {std::move(handle), client, &client->oauth2,
          std::dynamic_pointer_cast<CloudStorage::Auth::OAuth2Credential>(client->credential())};
}

/// The authorization flow of a drive.
struct Flow : TestSupport::Drive {
  FlowSession (*openSession)();
};

inline const Flow kGoogleDriveFlow{TestSupport::kGoogleDrive,
                                   openFlowSession<TestSupport::kGoogleDrive>};
inline const Flow kAmazonDriveFlow{TestSupport::kAmazonDrive,
                                   openFlowSession<TestSupport::kAmazonDrive>};
inline const Flow kOneDriveFlow{TestSupport::kOneDrive, openFlowSession<TestSupport::kOneDrive>};
inline const Flow kDropboxFlow{TestSupport::kDropbox, openFlowSession<TestSupport::kDropbox>};

inline const auto kAllFlows =
    testing::Values(kAmazonDriveFlow, kGoogleDriveFlow, kOneDriveFlow, kDropboxFlow);

class FlowTest : public testing::TestWithParam<Flow> {
 protected:
  int getAuthorizeUrl() {
    return GetParam().authorization.getAuthorizeUrl(session_.handle.get(), &url_.text);
  }
  int getToken(const char* code = "the code") {
    return GetParam().authorization.getToken(session_.handle.get(), code, &access_.text,
                                             &refresh_.text);
  }
  int setToken(const char* access, const char* refresh) {
    return GetParam().authorization.setToken(session_.handle.get(), access, refresh);
  }

  void resetTokens() {
    access_.reset();
    refresh_.reset();
  }

  /// The exchange stores these tokens and returns `status`.
  void exchangeWillReturn(std::string access, std::string refresh,
                          CloudStorage::Util::Status status = {}) {
    EXPECT_CALL(*session_.oauth2, exchangeAuthorizationCode(testing::_, testing::_, testing::_))
        .WillOnce(
            [access = std::move(access), refresh = std::move(refresh), status = std::move(status)](
                const auto&, const auto&, CloudStorage::Auth::OAuth2Credential& credential) {
              credential.setTokens(access, refresh);
              return status;
            });
  }

  void expectCredential(const std::string& access, const std::string& refresh) const {
    EXPECT_EQ(session_.credential->accessToken(), access);
    EXPECT_EQ(session_.credential->refreshToken(), refresh);
  }

  FlowSession session_ = GetParam().openSession();
  TestSupport::TextOut url_;
  TestSupport::TextOut access_;
  TestSupport::TextOut refresh_;
  TestSupport::LogCapture log_;
};

}  // namespace UnitTests
