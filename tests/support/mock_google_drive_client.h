#pragma once

#include <gmock/gmock.h>

#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "support/mock_oauth2_client.h"

namespace TestSupport {

namespace GoogleDriveModel = CloudStorage::Client::GoogleDrive::Model;

/// Substitute for the Google Drive client of a session.
class MockGoogleDriveClient
    : public MockOAuth2Client<CloudStorage::Client::GoogleDrive::GoogleDriveClient> {
 public:
  MOCK_METHOD(OutcomeOf<GoogleDriveModel::FileResource>, getFileResource,
              (const GoogleDriveModel::GetFileResourceRequest&), (const, override));
  MOCK_METHOD(OutcomeOf<GoogleDriveModel::ListFileResourceResult>, listFileResource,
              (const GoogleDriveModel::ListFileResourceRequest&), (const, override));
  MOCK_METHOD(OutcomeOf<GoogleDriveModel::FileResource>, uploadFile,
              (const GoogleDriveModel::UploadFileRequest&), (const, override));
};

}  // namespace TestSupport
