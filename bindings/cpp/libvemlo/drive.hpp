#pragma once

#include <libvemlo.h>
#include <libvemlo_service_client.h>

#include <memory>
#include <string>
#include <string_view>

#include "call.hpp"
#include "failure.hpp"
#include "listing.hpp"
#include "proxy.hpp"
#include "session.hpp"
#include "texts.hpp"

namespace vemlo {

/// What authorizes a session with a drive. The refresh token of Dropbox is always empty; its access
/// token holds both (see `Settings::durableDropboxTokens`).
struct Tokens {
  std::string access{};
  std::string refresh{};
};

namespace detail {

/// The functions of libvemlo.h for one drive service.
struct DriveFunctions {
  session* (*open)(const proxy_setting*);
  int (*authorizeUrl)(session*, char**);
  /// Null if the service has no such address.
  int (*logoutUrl)(session*, char**);
  int (*link)(session*, const char* code, char** access, char** refresh);
  int (*setTokens)(session*, const char* access, const char* refresh);
  /// Null if the root folder is known without a request.
  int (*root)(session*, directory**);
  int (*folders)(session*, const directory*, directory**, int*);
  int (*createFolder)(session*, const directory*, const char* name, directory**);
};

inline int linkDropbox(session* handle, const char* code, char** access, char** /*refresh*/) {
  return dropbox_get_token(handle, code, access);
}

inline int setDropboxTokens(session* handle, const char* access, const char* /*refresh*/) {
  return dropbox_set_token(handle, access);
}

inline constexpr DriveFunctions kAmazonDrive{
    libvemlo_amazon_drive_init,  amazon_drive_get_authorize_url, nullptr,
    amazon_drive_get_token,      amazon_drive_set_token,         amazon_drive_get_root_directory,
    amazon_drive_list_directory, amazon_drive_create_directory};
inline constexpr DriveFunctions kGoogleDrive{
    libvemlo_google_drive_init,  google_drive_get_authorize_url, nullptr,
    google_drive_get_token,      google_drive_set_token,         google_drive_get_root_directory,
    google_drive_list_directory, google_drive_create_directory};
inline constexpr DriveFunctions kOneDrive{libvemlo_one_drive_init,  one_drive_get_authorize_url,
                                          one_drive_get_logout_url, one_drive_get_token,
                                          one_drive_set_token,      one_drive_get_root_directory,
                                          one_drive_list_directory, one_drive_create_directory};
inline constexpr DriveFunctions kDropbox{libvemlo_dropbox_init,
                                         dropbox_get_authorize_url,
                                         nullptr,
                                         linkDropbox,
                                         setDropboxTokens,
                                         nullptr,
                                         dropbox_list_directory,
                                         dropbox_create_directory};

inline const DriveFunctions& functionsOf(Service service) {
  switch (service) {
    case Service::AmazonDrive:
      return kAmazonDrive;
    case Service::GoogleDrive:
      return kGoogleDrive;
    case Service::OneDrive:
      return kOneDrive;
    case Service::Dropbox:
      return kDropbox;
    default:
      throw Failure("the service is no drive");
  }
}

struct FreeFolder {
  void operator()(directory* entry) const noexcept { free_directory(entry); }
};

}  // namespace detail

/// A session with an account of Amazon Drive, Google Drive, OneDrive or Dropbox. `link` or
/// `setTokens` authorizes it, neither of which may run beside another call on it.
class Drive {
 public:
  /// Opens the session; no connection is made.
  ///
  /// @param service  one of the four drives.
  explicit Drive(Service service, const Proxy& proxy = {})
      : service_(service), functions_(&detail::functionsOf(service)) {
    const auto record = detail::recordOf<proxy_setting>(proxy);
    session_.reset(functions_->open(&record));
    if (session_ == nullptr) throw Failure("the session cannot be opened");
  }

  Service service() const noexcept { return service_; }

  /// The address of the web page on which a user grants access.
  ///
  /// @param state  what the service returns beside the code, so that the host recognizes its own
  ///               request: hard to guess, and used once. At most 500 bytes. Empty: none.
  std::string authorizeUrl(std::string_view state = {}) const {
    if (vemlo_client_set_state(detail::argument(state).c_str()) != 0) {
      throw Failure("the state is too long or contains a control character");
    }
    return url(functions_->authorizeUrl);
  }

  /// The address that signs a user out in the browser. Empty if the service has none.
  std::string logoutUrl() const {
    return functions_->logoutUrl == nullptr ? std::string() : url(functions_->logoutUrl);
  }

  /// Exchanges an authorization code, percent-decoded, for tokens. The session is authorized then.
  /// If it fails, the ERROR line in the log contains the code.
  Tokens link(std::string_view code, const Call& call = {}) {
    const std::string text = detail::argument(code);
    char* access = nullptr;
    char* refresh = nullptr;
    // The texts are released also if the progress callback throws.
    detail::OwnedText ownedAccess;
    detail::OwnedText ownedRefresh;
    detail::make(call, [&] {
      const int result = functions_->link(session_.get(), text.c_str(), &access, &refresh);
      ownedAccess.reset(access);
      ownedRefresh.reset(refresh);
      return result;
    });
    return {detail::textOf(ownedAccess), detail::textOf(ownedRefresh)};
  }

  /// Authorizes the session with tokens stored earlier. They are not checked.
  void setTokens(const Tokens& tokens) {
    const std::string access = detail::argument(tokens.access);
    const std::string refresh = detail::argument(tokens.refresh);
    detail::make(
        {}, [&] { return functions_->setTokens(session_.get(), access.c_str(), refresh.c_str()); });
  }

  /// The account's root folder. No request is sent to Dropbox, whose root folder has the id "/".
  Folder root(const Call& call = {}) const {
    if (functions_->root == nullptr) return {"/", "/"};
    return folder(call, [&](directory** root) { return functions_->root(session_.get(), root); });
  }

  /// All folders directly below a folder.
  Folders folders(std::string_view parentId, const Call& call = {}) const {
    std::string id = detail::argument(parentId);
    const directory parent{nullptr, id.data()};
    Folders found;
    detail::make(call, [&] {
      return found.receive([&](directory** entries, int* count) {
        return functions_->folders(session_.get(), &parent, entries, count);
      });
    });
    return found;
  }

  /// Creates a folder. Google Drive creates a second one if there is one of this name already.
  Folder createFolder(std::string_view parentId, std::string_view name,
                      const Call& call = {}) const {
    std::string id = detail::argument(parentId);
    const std::string text = detail::argument(name);
    const directory parent{nullptr, id.data()};
    return folder(call, [&](directory** created) {
      return functions_->createFolder(session_.get(), &parent, text.c_str(), created);
    });
  }

  /// The session of the C interface, which stays owned by this object.
  session* get() const noexcept { return session_.get(); }

 private:
  std::string url(int (*function)(session*, char**)) const {
    char* text = nullptr;
    detail::make({}, [&] { return function(session_.get(), &text); });
    return detail::textOf(detail::OwnedText(text));
  }

  template <typename Function>
  static Folder folder(const Call& call, Function function) {
    std::unique_ptr<directory, detail::FreeFolder> owned;
    detail::make(call, [&] {
      directory* entry = nullptr;
      const int result = function(&entry);
      owned.reset(entry);
      return result;
    });
    return FolderEntry(*owned).folder();
  }

  Service service_;
  const detail::DriveFunctions* functions_;
  detail::Session session_;
};

/// Amazon Drive, which has two functions more.
class AmazonDrive : public Drive {
 public:
  explicit AmazonDrive(const Proxy& proxy = {}) : Drive(Service::AmazonDrive, proxy) {}

  /// Finds the account's endpoints, which calls otherwise do when they need them.
  void findEndpoints(const Call& call = {}) const {
    detail::make(call, [&] { return amazon_drive_get_endpoint(get()); });
  }

  /// Logs the name of the account's owner.
  void logAccount(const Call& call = {}) const {
    detail::make(call, [&] { return amazon_drive_test_api(get()); });
  }
};

}  // namespace vemlo
