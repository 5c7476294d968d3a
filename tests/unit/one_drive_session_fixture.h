#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "drive_session_fixture.h"
#include "support/mock_one_drive_client.h"

namespace UnitTests {

struct OneDriveTypes {
  static constexpr const auto& kDrive = TestSupport::kOneDrive;
  using Client = TestSupport::MockOneDriveClient;
  using Item = TestSupport::OneDriveModel::DriveItem;
  using Page = TestSupport::OneDriveModel::ListChildrenResult;
  using PageRequest = TestSupport::OneDriveModel::ListChildrenRequest;
  using CreationRequest = TestSupport::OneDriveModel::CreateFolderRequest;

  static Item folder(std::string_view id, std::string_view name) {
    return itemNamed<Item>(id, name);
  }
  static Page pageOf(std::vector<Item> items, std::string next, std::shared_ptr<const void> texts) {
    return {std::move(items), std::move(next), std::move(texts)};
  }
  static std::string pathIn(const CreationRequest& request) {
    return request.parentItemId.value() + '/' + request.name.value();
  }
};

class OneDriveFixture : public DriveFixtureOf<OneDriveTypes> {
 public:
  using RootRequest = TestSupport::OneDriveModel::GetDriveItemRequest;

  /// Each listing requests the type of the drive first.
  void prepare() override {
    EXPECT_CALL(client(), getDriveMetadata(testing::_))
        .WillRepeatedly(testing::Return(TestSupport::OneDriveModel::DriveMetadata{}));
  }

  void willReturnRoot(Reply reply) override {
    EXPECT_CALL(client(), getDriveItem(testing::_))
        .WillOnce([this, reply = std::move(reply)](const RootRequest& request) {
          roots.push_back(request);
          return itemOutcome(reply);
        });
  }
  void willReturnPages(std::vector<Reply> replies) override {
    const int count = expectPages(replies);
    EXPECT_CALL(client(), listChildren(testing::_)).Times(count).WillRepeatedly(nextPage());
  }
  void willCreate(Reply reply) override {
    EXPECT_CALL(client(), createFolder(testing::_)).WillOnce(creation(std::move(reply)));
  }

  std::vector<RootRequest> roots;
};

}  // namespace UnitTests
