#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "drive_session_fixture.h"
#include "support/mock_google_drive_client.h"

namespace UnitTests {

struct GoogleDriveTypes {
  static constexpr const auto& kDrive = TestSupport::kGoogleDrive;
  using Client = TestSupport::MockGoogleDriveClient;
  using Item = TestSupport::GoogleDriveModel::FileResource;
  using Page = TestSupport::GoogleDriveModel::ListFileResourceResult;
  using PageRequest = TestSupport::GoogleDriveModel::ListFileResourceRequest;
  using CreationRequest = TestSupport::GoogleDriveModel::UploadFileRequest;

  static Item folder(std::string_view id, std::string_view name) {
    return itemNamed<Item>(id, name);
  }
  static Page pageOf(std::vector<Item> items, std::string next, std::shared_ptr<const void> texts) {
    return {std::move(next), std::move(items), std::move(texts)};
  }
  static std::string pathIn(const CreationRequest& request) {
    return request.parents.value() + '/' + request.name.value();
  }
};

class GoogleDriveFixture : public DriveFixtureOf<GoogleDriveTypes> {
 public:
  using RootRequest = TestSupport::GoogleDriveModel::GetFileResourceRequest;

  void willReturnRoot(Reply reply) override {
    EXPECT_CALL(client(), getFileResource(testing::_))
        .WillOnce([this, reply = std::move(reply)](const RootRequest& request) {
          roots.push_back(request);
          return itemOutcome(reply);
        });
  }
  void willReturnPages(std::vector<Reply> replies) override {
    const int count = expectPages(replies);
    EXPECT_CALL(client(), listFileResource(testing::_)).Times(count).WillRepeatedly(nextPage());
  }
  void willCreate(Reply reply) override {
    EXPECT_CALL(client(), uploadFile(testing::_)).WillOnce(creation(std::move(reply)));
  }

  std::vector<RootRequest> roots;
};

}  // namespace UnitTests
