#pragma once

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "drive_session_fixture.h"
#include "support/mock_dropbox_client.h"

namespace UnitTests {

struct DropboxTypes {
  static constexpr const auto& kDrive = TestSupport::kDropbox;
  using Client = TestSupport::MockDropboxClient;
  using Item = TestSupport::DropboxModel::Metadata;
  using Page = TestSupport::DropboxModel::ListFolderResult;
  using PageRequest = TestSupport::DropboxModel::ListFolderRequest;
  using CreationRequest = TestSupport::DropboxModel::CreateFolderRequest;

  /// The path is the id of the record.
  static Item folder(std::string_view path, std::string_view name) {
    auto item = itemNamed<Item>("not the path", name);
    item.tag = "folder";
    item.pathLower = "nor this";
    item.path = path;
    return item;
  }
  /// More entries follow if there is a `cursor`. The list of entries copies the texts.
  static Page pageOf(const std::vector<Item>& items, std::string cursor,
                     const std::shared_ptr<const void>& /*texts*/) {
    const bool hasMore = !cursor.empty();
    return {{items.begin(), items.end()}, std::move(cursor), hasMore};
  }
  static std::string pathIn(const CreationRequest& request) { return request.path.value(); }
};

class DropboxFixture : public DriveFixtureOf<DropboxTypes> {
 public:
  void willReturnPages(std::vector<Reply> replies) override {
    const int count = expectPages(replies);
    EXPECT_CALL(client(), listFolder(testing::_)).Times(count).WillRepeatedly(nextPage());
  }
  void willCreate(Reply reply) override {
    EXPECT_CALL(client(), createFolder(testing::_)).WillOnce(creation(std::move(reply)));
  }
};

}  // namespace UnitTests
