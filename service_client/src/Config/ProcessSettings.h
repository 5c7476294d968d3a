#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "CloudStorage/Auth/OAuth2Credential.h"
#include "CloudStorage/Client/Service.h"
#include "Http/TrustAnchors.h"

namespace CloudStorage::Config {

/// An application's registration with a drive service. A member without a value keeps what the
/// library was built with.
struct Application {
  std::optional<std::string> clientId;
  std::optional<std::string> clientSecret;
  std::optional<std::string> redirectUri;
};

/// What the host has set for the process. Immutable; a change replaces it as a whole.
struct ProcessSettings {
  /// The settings at this moment. Safe for concurrent calls, as is change().
  static std::shared_ptr<const ProcessSettings> current();

  /// Applies `edit` to a copy of the settings and makes the copy current.
  static void change(const std::function<void(ProcessSettings&)>& edit);

  using TokenCallback =
      std::function<void(Client::Service service, const std::string& usedRefreshToken,
                         const Auth::TokenRefresher::Tokens& renewed)>;
  /// Receives the tokens that a refresh has renewed, if there is one.
  TokenCallback tokenCallback;

  /// Whether Dropbox's access tokens, as hosts see them, contain the refresh token. Without a value
  /// as the library was built.
  std::optional<bool> dropboxDurableToken;

  std::map<Client::Service, Application> applications;

  /// Whether consent is bound to the session that asked for it.
  bool pkce = false;

  /// What is trusted in place of TrustAnchors::processWide(); may be null.
  std::shared_ptr<Http::TrustAnchors> trustAnchors;
};

}  // namespace CloudStorage::Config
