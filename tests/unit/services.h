#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "libvemlo.h"
#include "libvemlo/session.h"

namespace UnitTests {

/// What the tests of all six services' sessions have to know of one service.
struct Service {
  const char* name;
  /// Opens a session with valid arguments.
  session* (*open)(const proxy_setting* proxy);
  void (*cleanup)(session* handle);
  /// The service's client in a session; null if there is none.
  const CloudStorage::Client::WSClient* (*client)(const session& handle);
};

inline void PrintTo(const Service& service, std::ostream* out) { *out << service.name; }

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
      {"AzureSSB", openAzure, libvemlo_azure_ssb_cleanup,
       [](const session& handle) -> const CloudStorage::Client::WSClient* {
         return handle.azure_ssb_client.get();
       }},
      {"GoogleDrive", libvemlo_google_drive_init, libvemlo_google_drive_cleanup,
       [](const session& handle) -> const CloudStorage::Client::WSClient* {
         return handle.google_drive_client.get();
       }},
      {"AmazonDrive", libvemlo_amazon_drive_init, libvemlo_amazon_drive_cleanup,
       [](const session& handle) -> const CloudStorage::Client::WSClient* {
         return handle.amazon_drive_client.get();
       }},
      {"OneDrive", libvemlo_one_drive_init, libvemlo_one_drive_cleanup,
       [](const session& handle) -> const CloudStorage::Client::WSClient* {
         return handle.one_drive_client.get();
       }},
      {"Dropbox", libvemlo_dropbox_init, libvemlo_dropbox_cleanup,
       [](const session& handle) -> const CloudStorage::Client::WSClient* {
         return handle.dropbox_client.get();
       }},
  };
  return services;
}

/// Names a parameterised test after its service.
struct ServiceName {
  template <typename Info>
  std::string operator()(const Info& instance) const {
    return instance.param.name;
  }
};

struct SessionCloser {
  void operator()(session* handle) const { libvemlo_s3_cleanup(handle); }
};
using OwnedSession = std::unique_ptr<session, SessionCloser>;

}  // namespace UnitTests
