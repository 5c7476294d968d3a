#pragma once

#include <gmock/gmock.h>

#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "support/mock_oauth2_client.h"

namespace TestSupport {

/// Stands in for the OneDrive client of a session. What it does not expect never reaches a network.
class MockOneDriveClient : public MockOAuth2Client<CloudStorage::Client::OneDrive::OneDriveClient> {
 public:
  using MockOAuth2Client::MockOAuth2Client;

  using DriveItemOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::OneDrive::Model::DriveItem,
                                  CloudStorage::Client::Error>;
  using DriveMetadataOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::OneDrive::Model::DriveMetadata,
                                  CloudStorage::Client::Error>;
  using ListChildrenOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::OneDrive::Model::ListChildrenResult,
                                  CloudStorage::Client::Error>;

  MOCK_METHOD(DriveItemOutcome, getDriveItem,
              (const CloudStorage::Client::OneDrive::Model::GetDriveItemRequest&),
              (const, override));
  MOCK_METHOD(DriveMetadataOutcome, getDriveMetadata,
              (const CloudStorage::Client::OneDrive::Model::GetDriveMetadataRequest&),
              (const, override));
  MOCK_METHOD(ListChildrenOutcome, listChildren,
              (const CloudStorage::Client::OneDrive::Model::ListChildrenRequest&),
              (const, override));
  MOCK_METHOD(DriveItemOutcome, createFolder,
              (const CloudStorage::Client::OneDrive::Model::CreateFolderRequest&),
              (const, override));
};

}  // namespace TestSupport
