#pragma once

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "libvemlo/session.h"
#include "operation_fixture.h"
#include "support/outcome_of.h"

// Sessions with a drive whose client is a substitute.
namespace UnitTests {

using TestSupport::Folder;

/// `count` folders from number `first` on, with distinct ids and names.
inline std::vector<Folder> numberedFolders(int first, int count) {
  std::vector<Folder> folders;
  for (int i = first; i < first + count; ++i) {
    folders.push_back({"id " + std::to_string(i), "name " + std::to_string(i)});
  }
  return folders;
}

inline CloudStorage::Client::Error failure() {
  return {CloudStorage::Client::CoreErrors::TemporaryFailure,
          "exceptionName",
          "It went wrong.",
          {},
          true,
          503};
}

/// What a drive's client returns, in terms that all drives share: folders and the token of the next
/// page, or an error.
struct Reply {
  Reply(std::vector<Folder> page, std::string nextPage)
      : folders(std::move(page)), next(std::move(nextPage)) {}
  Reply(CloudStorage::Client::Error cause) : error(std::move(cause)) {}

  std::vector<Folder> folders;
  std::string next;
  std::optional<CloudStorage::Client::Error> error;
};

inline Reply pageOf(std::vector<Folder> folders, std::string next = {}) {
  return {std::move(folders), std::move(next)};
}
inline Reply itemOf(Folder folder) { return {{std::move(folder)}, {}}; }

/// A session with a drive. Its client fails the test on any unexpected request.
class DriveFixture {
 public:
  explicit DriveFixture(const TestSupport::Drive& drive) : functions_(drive.folders) {}
  virtual ~DriveFixture() = default;
  DriveFixture(const DriveFixture&) = delete;
  DriveFixture& operator=(const DriveFixture&) = delete;

  /// Makes requests that precede that of an operation succeed, or unnecessary.
  virtual void prepare() {}

  // Each of these expects the requests for its replies, and no others.
  virtual void willReturnRoot(Reply /*reply*/) { FAIL() << "The drive has no such function."; }
  virtual void willReturnPages(std::vector<Reply> replies) = 0;
  virtual void willCreate(Reply reply) = 0;

  /// Where the latest request creates a folder: the parent, a slash and the name.
  virtual std::string createdPath() const = 0;

  int getRoot() { return functions_.getRoot(handle.get(), &folder.record); }
  int list(std::string parentId = "parent id") {
    const directory parent{nullptr, parentId.data()};
    return functions_.list(handle.get(), &parent, &folders.list, &folders.count);
  }
  int create(std::string parentId = "parent id", const char* name = "new") {
    const directory parent{nullptr, parentId.data()};
    return functions_.create(handle.get(), &parent, name, &folder.record);
  }

  TestSupport::OwnedSession handle{new session};
  TestSupport::FolderOut folder;
  TestSupport::FolderListOut folders;
  TestSupport::LogCapture log;

 private:
  const TestSupport::FolderFunctions functions_;
};

template <typename Item>
Item itemNamed(std::string_view id, std::string_view name) {
  Item item;
  item.id = id;
  item.name = name;
  return item;
}

/// `Types` names the drive, its classes, and how a folder and a page are constructed.
template <typename Types>
class DriveFixtureOf : public DriveFixture {
 public:
  using Client = typename Types::Client;
  using Item = typename Types::Item;
  using Page = typename Types::Page;
  using PageRequest = typename Types::PageRequest;
  using CreationRequest = typename Types::CreationRequest;
  using ItemOutcome = TestSupport::OutcomeOf<Item>;
  using PageOutcome = TestSupport::OutcomeOf<Page>;

  DriveFixtureOf() : DriveFixture(Types::kDrive) {
    handle.get()->*Types::kDrive.member = std::make_shared<testing::StrictMock<Client>>();
  }

  Client& client() { return static_cast<Client&>(*(handle.get()->*Types::kDrive.member)); }

  std::string createdPath() const override { return Types::pathIn(creations.back()); }

  /// Applied to each item or page before the client returns it.
  std::function<void(Item&)> editItem = [](Item&) {};
  std::function<void(Page&)> editPage = [](Page&) {};

  Script<PageRequest, PageOutcome> pages;
  std::vector<CreationRequest> creations;

 protected:
  // What a client returns is constructed when it is requested, so that its texts are released as
  // soon as the library releases it.

  int expectPages(const std::vector<Reply>& replies) {
    std::vector<std::function<PageOutcome()>> responders;
    for (const Reply& reply : replies) {
      responders.push_back([this, reply] { return pageOutcome(reply); });
    }
    return pages.reset(std::move(responders));
  }
  auto nextPage() {
    return [this](const PageRequest& request) { return pages(request); };
  }
  auto creation(Reply reply) {
    return [this, reply = std::move(reply)](const CreationRequest& request) {
      creations.push_back(request);
      return itemOutcome(reply);
    };
  }

  ItemOutcome itemOutcome(const Reply& reply) const {
    if (reply.error) return *reply.error;
    const PageTexts texts(textsOf(reply.folders));
    Item item = itemsOf(texts).at(0);
    item.storage = texts.page();
    editItem(item);
    return {std::move(item)};
  }

 private:
  PageOutcome pageOutcome(const Reply& reply) const {
    if (reply.error) return *reply.error;
    const PageTexts texts(textsOf(reply.folders));
    Page page = Types::pageOf(itemsOf(texts), reply.next, texts.page());
    editPage(page);
    return {std::move(page)};
  }

  static std::vector<std::string> textsOf(const std::vector<Folder>& folders) {
    std::vector<std::string> texts;
    for (const Folder& folder : folders) texts.insert(texts.end(), {folder.id, folder.name});
    return texts;
  }
  static std::vector<Item> itemsOf(const PageTexts& texts) {
    std::vector<Item> items;
    for (std::size_t i = 0; i < texts.views().size(); i += 2) {
      items.push_back(Types::folder(texts.views()[i], texts.views()[i + 1]));
    }
    return items;
  }
};

}  // namespace UnitTests
