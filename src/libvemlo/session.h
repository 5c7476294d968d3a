#pragma once

#include <Poco/Crypto/OpenSSLInitializer.h>

#include <memory>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "CloudStorage/Client/AzureSSB/AzureSSBClient.h"
#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "CloudStorage/Client/S3/S3Client.h"

// What a host holds of an open account. One record for all services; only the client of the
// session's own service is set.
struct session {
  session() = default;
  session(const session&) = delete;
  session& operator=(const session&) = delete;
  ~session();

  // Owned plainly, so closing an S3 session ends its client at once. The others are shared: each
  // call takes a reference of its own and may outlive the session.
  CloudStorage::Client::S3::S3Client* s3_client = nullptr;
  std::shared_ptr<CloudStorage::Client::GoogleDrive::GoogleDriveClient> google_drive_client;
  std::shared_ptr<CloudStorage::Client::AmazonDrive::AmazonDriveClient> amazon_drive_client;
  std::shared_ptr<CloudStorage::Client::Dropbox::DropboxClient> dropbox_client;
  std::shared_ptr<CloudStorage::Client::OneDrive::OneDriveClient> one_drive_client;
  std::shared_ptr<CloudStorage::Client::AzureSSB::AzureSSBClient> azure_ssb_client;
  // Last, so that it is gone before the shared clients are: one that a running call still holds
  // must not find a crypto library that this session keeps for it.
  Poco::Crypto::OpenSSLInitializer openssl_initializer;
};
