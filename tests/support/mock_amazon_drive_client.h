#pragma once

#include <gmock/gmock.h>

#include "CloudStorage/Client/AmazonDrive/AmazonDriveClient.h"
#include "support/mock_oauth2_client.h"

namespace TestSupport {

/// Stands in for the Amazon Drive client of a session. What it does not expect never reaches a
/// network.
class MockAmazonDriveClient
    : public MockOAuth2Client<CloudStorage::Client::AmazonDrive::AmazonDriveClient> {
 public:
  using GetEndpointOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::AmazonDrive::Model::GetEndpointResult,
                                  CloudStorage::Client::Error>;
  using GetProfileOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::AmazonDrive::Model::GetProfileResult,
                                  CloudStorage::Client::Error>;
  using ListFileResourceOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::AmazonDrive::Model::ListFileResourceResult,
                                  CloudStorage::Client::Error>;
  using FileResourceOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::AmazonDrive::Model::FileResource,
                                  CloudStorage::Client::Error>;

  MOCK_METHOD(GetEndpointOutcome, getEndpoint,
              (const CloudStorage::Client::AmazonDrive::Model::ComRequest&), (const, override));
  MOCK_METHOD(GetProfileOutcome, getProfile,
              (const CloudStorage::Client::AmazonDrive::Model::ComRequest&), (const, override));
  MOCK_METHOD(ListFileResourceOutcome, listFileResource,
              (const CloudStorage::Client::AmazonDrive::Model::ListFileResourceRequest&),
              (const, override));
  MOCK_METHOD(FileResourceOutcome, folderCreate,
              (const CloudStorage::Client::AmazonDrive::Model::FileRequest&), (const, override));
};

}  // namespace TestSupport
