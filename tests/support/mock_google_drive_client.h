#pragma once

#include <gmock/gmock.h>

#include "CloudStorage/Client/GoogleDrive/GoogleDriveClient.h"
#include "support/mock_oauth2_client.h"

namespace TestSupport {

/// Stands in for the Google Drive client of a session. What it does not expect never reaches a
/// network.
class MockGoogleDriveClient
    : public MockOAuth2Client<CloudStorage::Client::GoogleDrive::GoogleDriveClient> {
 public:
  using FileResourceOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::GoogleDrive::Model::FileResource,
                                  CloudStorage::Client::Error>;
  using ListFileResourceOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::GoogleDrive::Model::ListFileResourceResult,
                                  CloudStorage::Client::Error>;

  MOCK_METHOD(FileResourceOutcome, getFileResource,
              (const CloudStorage::Client::GoogleDrive::Model::GetFileResourceRequest&),
              (const, override));
  MOCK_METHOD(ListFileResourceOutcome, listFileResource,
              (const CloudStorage::Client::GoogleDrive::Model::ListFileResourceRequest&),
              (const, override));
  MOCK_METHOD(FileResourceOutcome, uploadFile,
              (const CloudStorage::Client::GoogleDrive::Model::UploadFileRequest&),
              (const, override));
};

}  // namespace TestSupport
