#pragma once

#include <gmock/gmock.h>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "support/mock_oauth2_client.h"

namespace TestSupport {

namespace AmazonDriveModel = CloudStorage::Client::AmazonDrive::Model;

/// Substitute for the Amazon Drive client of a session.
class MockAmazonDriveClient
    : public MockOAuth2Client<CloudStorage::Client::AmazonDrive::AmazonDriveClient> {
 public:
  MOCK_METHOD(OutcomeOf<AmazonDriveModel::GetEndpointResult>, getEndpoint,
              (const AmazonDriveModel::ComRequest&), (const, override));
  MOCK_METHOD(OutcomeOf<AmazonDriveModel::GetProfileResult>, getProfile,
              (const AmazonDriveModel::ComRequest&), (const, override));
  MOCK_METHOD(OutcomeOf<AmazonDriveModel::ListFileResourceResult>, listFileResource,
              (const AmazonDriveModel::ListFileResourceRequest&), (const, override));
  MOCK_METHOD(OutcomeOf<AmazonDriveModel::FileResource>, folderCreate,
              (const AmazonDriveModel::FileRequest&), (const, override));
};

}  // namespace TestSupport
