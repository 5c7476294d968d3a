#pragma once

#include <gmock/gmock.h>

#include "CloudStorage/Client/OneDrive/OneDriveClient.h"
#include "support/mock_oauth2_client.h"

namespace TestSupport {

namespace OneDriveModel = CloudStorage::Client::OneDrive::Model;

/// Substitute for the OneDrive client of a session.
class MockOneDriveClient : public MockOAuth2Client<CloudStorage::Client::OneDrive::OneDriveClient> {
 public:
  MOCK_METHOD(OutcomeOf<OneDriveModel::DriveItem>, getDriveItem,
              (const OneDriveModel::GetDriveItemRequest&), (const, override));
  MOCK_METHOD(OutcomeOf<OneDriveModel::DriveMetadata>, getDriveMetadata,
              (const OneDriveModel::GetDriveMetadataRequest&), (const, override));
  MOCK_METHOD(OutcomeOf<OneDriveModel::ListChildrenResult>, listChildren,
              (const OneDriveModel::ListChildrenRequest&), (const, override));
  MOCK_METHOD(OutcomeOf<OneDriveModel::DriveItem>, createFolder,
              (const OneDriveModel::CreateFolderRequest&), (const, override));
};

}  // namespace TestSupport
