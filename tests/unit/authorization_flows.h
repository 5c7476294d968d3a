#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <ostream>
#include <string>

#include "drives.h"
#include "libvemlo.h"

namespace UnitTests {

/// A session of which the test sees what its client is asked and what its credential holds.
struct FlowSession {
  OwnedSession handle;
  std::weak_ptr<void> client;
  const TestSupport::MockOAuth2* oauth2;
  std::shared_ptr<CloudStorage::Auth::OAuth2Credential> credential;
};

template <typename Drive>
FlowSession openFlowSession() {
  const auto client = std::make_shared<testing::StrictMock<typename Drive::Client>>();
  OwnedSession handle(new session);
  handle.get()->*Drive::kClient = client;
  return {std::move(handle), client, &client->oauth2,
          std::dynamic_pointer_cast<CloudStorage::Auth::OAuth2Credential>(client->credential())};
}

/// What the tests of the authorization flow have to know of a drive service.
struct Flow {
  const char* service;
  FlowSession (*open)();
  const char* scope;
  int exchangeFailure;
  int (*getAuthorizeUrl)(session* handle, char** url);
  /// Dropbox hands out no refresh token and leaves `refreshToken` alone.
  int (*getToken)(session* handle, const char* code, char** accessToken, char** refreshToken);
  /// Dropbox takes no refresh token.
  int (*setToken)(session* handle, const char* accessToken, const char* refreshToken);
};

inline void PrintTo(const Flow& flow, std::ostream* out) { *out << flow.service; }

inline const Flow kAmazonDriveFlow{"AmazonDrive",
                                   openFlowSession<AmazonDrive>,
                                   "profile clouddrive:read_all clouddrive:write",
                                   340,
                                   amazon_drive_get_authorize_url,
                                   amazon_drive_get_token,
                                   amazon_drive_set_token};

inline const Flow kGoogleDriveFlow{"GoogleDrive",
                                   openFlowSession<GoogleDrive>,
                                   "email profile https://www.googleapis.com/auth/drive",
                                   337,
                                   google_drive_get_authorize_url,
                                   google_drive_get_token,
                                   google_drive_set_token};

inline const Flow kOneDriveFlow{
    "OneDrive",
    openFlowSession<OneDrive>,
    "https://graph.microsoft.com/files.readwrite user.read offline_access",
    343,
    one_drive_get_authorize_url,
    one_drive_get_token,
    one_drive_set_token};

inline const Flow kDropboxFlow{
    "Dropbox",
    openFlowSession<Dropbox>,
    "",
    343,
    dropbox_get_authorize_url,
    [](session* handle, const char* code, char** accessToken, char** /*refreshToken*/) {
      return dropbox_get_token(handle, code, accessToken);
    },
    [](session* handle, const char* accessToken, const char* /*refreshToken*/) {
      return dropbox_set_token(handle, accessToken);
    }};

/// The out-parameter of a function that hands out a text.
struct TextOut {
  char* text = untouched();

  TextOut() = default;
  TextOut(const TextOut&) = delete;
  TextOut& operator=(const TextOut&) = delete;
  ~TextOut() { reset(); }

  static char* untouched() {
    static char text[] = "untouched";
    return text;
  }
  void reset() {
    if (text != untouched()) std::free(text);
    text = untouched();
  }
};

struct FlowName {
  template <typename Info>
  std::string operator()(const Info& instance) const {
    return instance.param.service;
  }
};

}  // namespace UnitTests
