#pragma once

#include <libvemlo.h>
#include <libvemlo_service_client.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "failure.hpp"
#include "session.hpp"
#include "texts.hpp"

namespace vemlo {

/// An application's registration with a drive service. What is not set keeps its built-in value.
struct Application {
  Service service;
  std::optional<std::string> clientId{};
  /// Empty: none is sent, for applications that are registered as public clients.
  std::optional<std::string> clientSecret{};
  /// Where the service sends users back to, as it is registered.
  std::optional<std::string> redirectUri{};
};

/// Tokens that have been renewed, valid during the callback.
struct RenewedTokens {
  Service service;
  /// The refresh token with which they were renewed. The host finds its account by it.
  std::string_view usedRefreshToken;
  /// In the form that `Drive::setTokens` takes.
  std::string_view access;
  std::string_view refresh;
  /// How long the access token is valid, if the service said so.
  std::optional<std::chrono::seconds> lifetime;
};

/// What concerns the whole process. libvemlo_service_client.h describes each setting. Unlike in the
/// C interface, what most products need is on.
struct Settings {
  /// Of the log: 0 for failures only, 9 for every step. Only the first library of a process sets
  /// it.
  int verbosity = 0;
  std::vector<Application> applications{};
  /// Whether consent is bound to the session that asked for it: `Drive::link` then has to be called
  /// on the session that made the address.
  bool pkce = true;
  /// Whether listings of S3 folders are followed to their end.
  bool wholeS3Listings = true;
  /// Whether the access token of a Dropbox account is a text that holds the refresh token, too,
  /// without which the account ends after four hours.
  bool durableDropboxTokens = true;
  /// A file with PEM certificates to trust in place of the system's, and folders with such files
  /// under hashed names.
  std::string trustFile{};
  std::string trustFolder{};
  /// Called on the thread that renewed tokens, before its call continues. It must not throw. A host
  /// that does not store the tokens loses accounts whose service replaces the refresh token.
  std::function<void(const RenewedTokens&)> tokensRenewed{};
};

/// The library, set up for this process. At most one object may exist at a time. It must be created
/// and destroyed while no other thread uses the library. Sessions may be opened on any thread while
/// it exists.
class Library {
 public:
  explicit Library(Settings settings = {}) : settings_(std::move(settings)) {
    ::verbose = settings_.verbosity;
    applyApplications();
    vemlo_client_set_pkce(settings_.pkce ? 1 : 0);
    vemlo_client_set_whole_s3_listings(settings_.wholeS3Listings ? 1 : 0);
    vemlo_client_set_dropbox_durable_token(settings_.durableDropboxTokens ? 1 : 0);
    const std::string file = detail::argument(settings_.trustFile);
    const std::string folder = detail::argument(settings_.trustFolder);
    if (vemlo_client_set_trust(file.c_str(), folder.c_str()) != 0) throw std::bad_alloc();
    libvemlo_global_init();
    // The first session of a process sets up the log, which must not happen on two threads at once.
    const detail::Session first(libvemlo_s3_init("", "", "", "", nullptr));
    if (settings_.tokensRenewed) vemlo_client_set_token_callback(report, this);
  }

  ~Library() {
    if (settings_.tokensRenewed) vemlo_client_set_token_callback(nullptr, nullptr);
    libvemlo_global_cleanup();
  }

  Library(const Library&) = delete;
  Library& operator=(const Library&) = delete;

 private:
  static const char* pointerTo(const std::optional<std::string>& text) {
    return text ? text->c_str() : nullptr;
  }

  static void apply(Service service, const vemlo_client_application* application) {
    const int code = vemlo_client_set_application(static_cast<std::int32_t>(service), application);
    if (code > 0) throw std::bad_alloc();
    if (code < 0) throw Failure("the application's registration is not acceptable");
  }

  void applyApplications() const {
    for (const Service service :
         {Service::AmazonDrive, Service::GoogleDrive, Service::OneDrive, Service::Dropbox}) {
      apply(service, nullptr);
    }
    for (const Application& application : settings_.applications) {
      for (const auto* text :
           {&application.clientId, &application.clientSecret, &application.redirectUri}) {
        if (*text) detail::argument(**text);
      }
      const vemlo_client_application record{sizeof(record), pointerTo(application.clientId),
                                            pointerTo(application.clientSecret),
                                            pointerTo(application.redirectUri)};
      apply(application.service, &record);
    }
  }

  static void report(const vemlo_client_tokens* tokens, void* user) noexcept {
    RenewedTokens renewed{static_cast<Service>(tokens->service), tokens->used_refresh_token,
                          tokens->access_token, tokens->refresh_token, std::nullopt};
    if (tokens->lifetime >= 0) renewed.lifetime = std::chrono::seconds(tokens->lifetime);
    static_cast<const Library*>(user)->settings_.tokensRenewed(renewed);
  }

  const Settings settings_;
};

}  // namespace vemlo
