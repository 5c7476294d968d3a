#pragma once

#include <Poco/Crypto/OpenSSLInitializer.h>

#include <memory>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "CloudStorage/Client/S3/S3Client.h"

// An open account. One record type serves all services; only the client of the session's own
// service is set.
struct session {
  session() = default;
  session(const session&) = delete;
  session& operator=(const session&) = delete;
  ~session();

  // Not shared: closing an S3 session destroys its client at once.
  CloudStorage::Client::S3::S3Client* s3_client = nullptr;
  // Shared: each exported function copies the pointer of its service, so that the client outlives a
  // concurrent cleanup of the session.
  std::shared_ptr<CloudStorage::Client::GoogleDrive::GoogleDriveClient> google_drive_client;
  std::shared_ptr<CloudStorage::Client::AmazonDrive::AmazonDriveClient> amazon_drive_client;
  std::shared_ptr<CloudStorage::Client::Dropbox::DropboxClient> dropbox_client;
  std::shared_ptr<CloudStorage::Client::OneDrive::OneDriveClient> one_drive_client;
  std::shared_ptr<CloudStorage::Client::AzureSSB::AzureSSBClient> azure_ssb_client;
  // Declared last, so that it is destroyed before the shared clients are released. A client that a
  // running call still holds must not depend on this session for the crypto library.
  Poco::Crypto::OpenSSLInitializer openssl_initializer;
};
