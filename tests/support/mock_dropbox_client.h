#pragma once

#include <gmock/gmock.h>

#include "CloudStorage/Client/Dropbox/DropboxClient.h"
#include "support/mock_oauth2_client.h"

namespace TestSupport {

namespace DropboxModel = CloudStorage::Client::Dropbox::Model;

/// Substitute for the Dropbox client of a session.
class MockDropboxClient : public MockOAuth2Client<CloudStorage::Client::Dropbox::DropboxClient> {
 public:
  MOCK_METHOD(OutcomeOf<DropboxModel::ListFolderResult>, listFolder,
              (const DropboxModel::ListFolderRequest&), (const, override));
  MOCK_METHOD(OutcomeOf<DropboxModel::Metadata>, createFolder,
              (const DropboxModel::CreateFolderRequest&), (const, override));
};

}  // namespace TestSupport
