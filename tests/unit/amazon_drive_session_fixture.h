#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "drive_session_fixture.h"
#include "support/mock_amazon_drive_client.h"

namespace UnitTests {

struct AmazonDriveTypes {
  static constexpr const auto& kDrive = TestSupport::kAmazonDrive;
  using Client = TestSupport::MockAmazonDriveClient;
  using Item = TestSupport::AmazonDriveModel::FileResource;
  using Page = TestSupport::AmazonDriveModel::ListFileResourceResult;
  using PageRequest = TestSupport::AmazonDriveModel::ListFileResourceRequest;
  using CreationRequest = TestSupport::AmazonDriveModel::FileRequest;

  static Item folder(std::string_view id, std::string_view name) {
    return itemNamed<Item>(id, name);
  }
  static Page pageOf(std::vector<Item> items, std::string next, std::shared_ptr<const void> texts) {
    return {std::move(items), std::move(next), std::move(texts)};
  }
  static std::string pathIn(const CreationRequest& request) {
    return request.parent.value() + '/' + request.name.value();
  }
};

class AmazonDriveFixture : public DriveFixtureOf<AmazonDriveTypes> {
 public:
  static constexpr char kContentEndpoint[] = "https://content.example/cdproxy/";
  static constexpr char kMetadataEndpoint[] = "https://metadata.example/drive/v1/";

  /// With known endpoints no request for them is necessary.
  void prepare() override { client().setEndpoints({kContentEndpoint, kMetadataEndpoint}); }

  void willReturnRoot(Reply reply) override { willReturnPages({std::move(reply)}); }
  void willReturnPages(std::vector<Reply> replies) override {
    const int count = expectPages(replies);
    EXPECT_CALL(client(), listFileResource(testing::_)).Times(count).WillRepeatedly(nextPage());
  }
  void willCreate(Reply reply) override {
    EXPECT_CALL(client(), folderCreate(testing::_)).WillOnce(creation(std::move(reply)));
  }
};

}  // namespace UnitTests
