#pragma once

#include <gmock/gmock.h>

#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "support/mock_oauth2_client.h"

namespace TestSupport {

/// Stands in for the Dropbox client of a session. What it does not expect never reaches a network.
class MockDropboxClient : public MockOAuth2Client<CloudStorage::Client::Dropbox::DropboxClient> {
 public:
  using ListFolderOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::Dropbox::Model::ListFolderResult,
                                  CloudStorage::Client::Error>;
  using MetadataOutcome =
      CloudStorage::Util::Outcome<CloudStorage::Client::Dropbox::Model::Metadata,
                                  CloudStorage::Client::Error>;

  MOCK_METHOD(ListFolderOutcome, listFolder,
              (const CloudStorage::Client::Dropbox::Model::ListFolderRequest&), (const, override));
  MOCK_METHOD(MetadataOutcome, createFolder,
              (const CloudStorage::Client::Dropbox::Model::CreateFolderRequest&),
              (const, override));
};

}  // namespace TestSupport
