#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "CloudStorage/Client/OAuth2Client.h"
#include "libvemlo.h"
#include "libvemlo/constants.h"
#include "libvemlo/session.h"

// The services as the C interface and the session record show them.
namespace TestSupport {

struct Service {
  const char* name;
  /// Opens a session with valid arguments.
  session* (*open)(const proxy_setting* proxy);
  void (*cleanup)(session* handle);
  /// The service's client in a session; null if there is none.
  const CloudStorage::Client::WSClient* (*client)(const session& handle);
};

inline std::ostream& operator<<(std::ostream& out, const Service& service) {
  return out << service.name;
}

/// Names a parameterised test after its service.
struct ServiceName {
  template <typename Info>
  std::string operator()(const Info& instance) const {
    return instance.param.name;
  }
};

/// How this build identifies itself to a drive service.
struct Application {
  const char* clientId;
  const char* clientSecret;
  const char* authorizationEndpoint;
  const char* tokenEndpoint;
};

/// The steps of the authorization flow.
struct AuthorizationFunctions {
  int (*getAuthorizeUrl)(session* handle, char** url);
  /// Dropbox returns no refresh token and ignores `refreshToken`.
  int (*getToken)(session* handle, const char* code, char** accessToken, char** refreshToken);
  /// Dropbox takes no refresh token.
  int (*setToken)(session* handle, const char* accessToken, const char* refreshToken);
};

struct FolderFunctions {
  int (*list)(session* handle, const directory* parent, directory** children, int* count);
  int (*create)(session* handle, const directory* parent, const char* name, directory** created);
  /// Null for Dropbox, which has none.
  int (*getRoot)(session* handle, directory** root);
};

struct Drive : Service {
  Application application;
  AuthorizationFunctions authorization;
  const char* scope;
  /// What `getToken` returns if the exchange fails.
  int exchangeFailure;
  FolderFunctions folders;
};

/// A drive with the place of its client in the session record.
template <typename DriveClient>
struct DriveOf : Drive {
  using Client = DriveClient;
  std::shared_ptr<Client> session::*member;
};

template <auto member>
const CloudStorage::Client::WSClient* clientIn(const session& handle) {
  return (handle.*member).get();
}

inline constexpr DriveOf<CloudStorage::Client::GoogleDrive::GoogleDriveClient> kGoogleDrive{
    {{"GoogleDrive", libvemlo_google_drive_init, libvemlo_google_drive_cleanup,
      clientIn<&session::google_drive_client>},
     {libvemlo::kGoogleDriveClientId, libvemlo::kGoogleDriveClientSecret,
      libvemlo::kGoogleDriveAuthorizationEndpoint, libvemlo::kGoogleDriveTokenEndpoint},
     {google_drive_get_authorize_url, google_drive_get_token, google_drive_set_token},
     "email profile https://www.googleapis.com/auth/drive",
     337,
     {google_drive_list_directory, google_drive_create_directory, google_drive_get_root_directory}},
    &session::google_drive_client};

inline constexpr DriveOf<CloudStorage::Client::AmazonDrive::AmazonDriveClient> kAmazonDrive{
    {{"AmazonDrive", libvemlo_amazon_drive_init, libvemlo_amazon_drive_cleanup,
      clientIn<&session::amazon_drive_client>},
     {libvemlo::kAmazonDriveClientId, libvemlo::kAmazonDriveClientSecret,
      libvemlo::kAmazonDriveAuthorizationEndpoint, libvemlo::kAmazonDriveTokenEndpoint},
     {amazon_drive_get_authorize_url, amazon_drive_get_token, amazon_drive_set_token},
     "profile clouddrive:read_all clouddrive:write",
     340,
     {amazon_drive_list_directory, amazon_drive_create_directory, amazon_drive_get_root_directory}},
    &session::amazon_drive_client};

inline constexpr DriveOf<CloudStorage::Client::OneDrive::OneDriveClient> kOneDrive{
    {{"OneDrive", libvemlo_one_drive_init, libvemlo_one_drive_cleanup,
      clientIn<&session::one_drive_client>},
     {libvemlo::kOneDriveClientId, libvemlo::kOneDriveClientSecret,
      libvemlo::kOneDriveAuthorizationEndpoint, libvemlo::kOneDriveTokenEndpoint},
     {one_drive_get_authorize_url, one_drive_get_token, one_drive_set_token},
     "https://graph.microsoft.com/files.readwrite user.read offline_access",
     343,
     {one_drive_list_directory, one_drive_create_directory, one_drive_get_root_directory}},
    &session::one_drive_client};

inline int getDropboxToken(session* handle, const char* code, char** accessToken,
                           char** /*refreshToken*/) {
  return dropbox_get_token(handle, code, accessToken);
}

inline int setDropboxToken(session* handle, const char* accessToken, const char* /*refreshToken*/) {
  return dropbox_set_token(handle, accessToken);
}

inline constexpr DriveOf<CloudStorage::Client::Dropbox::DropboxClient> kDropbox{
    {{"Dropbox", libvemlo_dropbox_init, libvemlo_dropbox_cleanup,
      clientIn<&session::dropbox_client>},
     {libvemlo::kDropboxClientId, libvemlo::kDropboxClientSecret,
      libvemlo::kDropboxAuthorizationEndpoint, libvemlo::kDropboxTokenEndpoint},
     {dropbox_get_authorize_url, getDropboxToken, setDropboxToken},
     "",
     343,
     {dropbox_list_directory, dropbox_create_directory, nullptr}},
    &session::dropbox_client};

inline constexpr char kAzureAccessKey[] = "c2VjcmV0";

inline session* openS3(const proxy_setting* proxy) {
  return libvemlo_s3_init("https://s3.example", "eu-west-3", "access", "secret", proxy);
}

inline session* openAzure(const proxy_setting* proxy) {
  return libvemlo_azure_ssb_init("westeurope", "account", kAzureAccessKey, proxy);
}

inline const std::vector<Service>& allServices() {
  static const std::vector<Service> services = {
      {"S3", openS3, libvemlo_s3_cleanup,
       [](const session& handle) -> const CloudStorage::Client::WSClient* {
         return handle.s3_client;
       }},
      {"AzureSSB", openAzure, libvemlo_azure_ssb_cleanup, clientIn<&session::azure_ssb_client>},
      kGoogleDrive,
      kAmazonDrive,
      kOneDrive,
      kDropbox};
  return services;
}

struct SessionCloser {
  void operator()(session* handle) const { libvemlo_s3_cleanup(handle); }
};
using OwnedSession = std::unique_ptr<session, SessionCloser>;

}  // namespace TestSupport
