#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "CloudStorage/Client/OAuth2Client.h"
#include "support/outcome_of.h"
#include "support/scripted_transport.h"

namespace TestSupport {

/// The steps of the authorization flow in which a drive's client takes part.
class MockOAuth2 {
 public:
  MOCK_METHOD(std::string, buildAuthorizeUrl, (const CloudStorage::Auth::OAuth2RequestOptions&),
              (const));
  MOCK_METHOD(CloudStorage::Util::Status, exchangeAuthorizationCode,
              (const std::string&, const CloudStorage::Auth::OAuth2RequestOptions&,
               CloudStorage::Auth::OAuth2Credential&),
              (const));
};

/// Base of the substitutes for the drive clients of a session. They have no tokens and no network;
/// the test determines the results of the authorization flow.
template <typename DriveClient>
class MockOAuth2Client : public DriveClient {
 public:
  static constexpr char kRedirectUri[] = "https://redirect.example/redirect.php";

  explicit MockOAuth2Client(const std::string& redirectUri = kRedirectUri)
      : DriveClient({"client id", "client secret", redirectUri, "https://host.example/authorize",
                     "https://host.example/token", ""},
                    {std::make_shared<CloudStorage::Auth::OAuth2Credential>(),
                     nullptr,
                     nullptr,
                     nullptr,
                     nullptr,
                     nullptr,
                     {}},
                    {std::make_shared<ScriptedTransport>(), nullptr, nullptr, nullptr}) {}

  std::string buildAuthorizeUrl(
      const CloudStorage::Auth::OAuth2RequestOptions& options) const override {
    return oauth2.buildAuthorizeUrl(options);
  }
  CloudStorage::Util::Status exchangeAuthorizationCode(
      const std::string& code, const CloudStorage::Auth::OAuth2RequestOptions& options,
      CloudStorage::Auth::OAuth2Credential& credential) const override {
    return oauth2.exchangeAuthorizationCode(code, options, credential);
  }

  testing::StrictMock<MockOAuth2> oauth2;
};

}  // namespace TestSupport
