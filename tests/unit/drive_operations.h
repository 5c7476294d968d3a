#pragma once

#include <cstdlib>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "drives.h"
#include "libvemlo.h"
#include "operation_world.h"

// The operations on a drive's folders, each with its outs, for the tests of what all of them do.
namespace UnitTests {

/// A record of which only the id is there to be read. The texts of constants are never written.
inline directory folderWithId(const char* id) { return {nullptr, const_cast<char*>(id)}; }

inline const directory kParent = folderWithId("parent id");
inline const directory kParentWithoutId{const_cast<char*>("parent name"), nullptr};

/// The out-parameter of an operation on a single folder.
struct FolderOut {
  directory* record = untouched();

  FolderOut() = default;
  FolderOut(const FolderOut&) = delete;
  FolderOut& operator=(const FolderOut&) = delete;
  ~FolderOut() { reset(); }

  static directory* untouched() { return ListOuts<directory>::untouched(); }
  void reset() {
    if (record != untouched()) free_directory(record);
    record = untouched();
  }

  bool areUntouched() const { return record == untouched(); }
  bool areCleared() const { return record == nullptr; }
  Folder folder() const { return {record->id, record->name}; }
};

/// Those of a listing.
struct FoldersOut : ListOuts<directory> {
  FoldersOut() = default;
  FoldersOut(const FoldersOut&) = delete;
  FoldersOut& operator=(const FoldersOut&) = delete;
  ~FoldersOut() { reset(); }

  void reset() {
    if (!areUntouched() && count == 0) std::free(list);
    if (!areUntouched()) free_diretories(list, count);
    list = untouched();
    count = ListOuts<directory>().count;
  }

  std::vector<Folder> folders() const {
    std::vector<Folder> folders;
    for (int i = 0; i < count; ++i) folders.push_back({list[i].id, list[i].name});
    return folders;
  }
};

template <typename D>
struct GetRootDirectory {
  using Drive = D;
  static constexpr char kName[] = "GetRootDirectory";
  static constexpr char kFailureText[] = "Failed to get root directory. ";

  static auto& expectRequest(typename Drive::Client& client) { return Drive::expectRoot(client); }
  static auto answer(Folder folder) { return rootOf<Drive>(std::move(folder)); }

  int call(session* handle) { return Drive::getRoot(handle, &outs.record); }
  static std::vector<int> callWithNulls(session* handle) {
    return {Drive::getRoot(handle, nullptr)};
  }

  FolderOut outs;
};

template <typename D>
struct CreateDirectory {
  using Drive = D;
  static constexpr char kName[] = "CreateDirectory";
  static constexpr char kFailureText[] = "Failed to create directory. ";

  static auto& expectRequest(typename Drive::Client& client) {
    return Drive::expectCreation(client);
  }
  static auto answer(Folder folder) { return itemOf<Drive>(std::move(folder)); }

  int call(session* handle) { return Drive::create(handle, &kParent, "new", &outs.record); }
  std::vector<int> callWithNulls(session* handle) {
    return {Drive::create(handle, nullptr, "new", &outs.record),
            Drive::create(handle, &kParentWithoutId, "new", &outs.record),
            Drive::create(handle, &kParent, nullptr, &outs.record),
            Drive::create(handle, &kParent, "new", nullptr),
            Drive::create(handle, nullptr, nullptr, nullptr)};
  }

  FolderOut outs;
};

template <typename D>
struct ListDirectory {
  using Drive = D;
  static constexpr char kName[] = "ListDirectory";
  static constexpr char kFailureText[] = "Failed to list directories. ";

  static auto& expectRequest(typename Drive::Client& client) { return Drive::expectPage(client); }
  static auto answer(Folder folder) { return pageOf<Drive>({std::move(folder)}); }

  int call(session* handle, const directory& parent = kParent) {
    return Drive::list(handle, &parent, &outs.list, &outs.count);
  }
  std::vector<int> callWithNulls(session* handle) {
    return {Drive::list(handle, nullptr, &outs.list, &outs.count),
            Drive::list(handle, &kParentWithoutId, &outs.list, &outs.count),
            Drive::list(handle, &kParent, nullptr, &outs.count),
            Drive::list(handle, &kParent, &outs.list, nullptr),
            Drive::list(handle, nullptr, nullptr, nullptr)};
  }

  FoldersOut outs;
};

/// One operation on a drive whose client is a substitute.
template <typename Operation>
class DriveOperationTest : public DriveTest<typename Operation::Drive> {
 protected:
  /// One request, and its answer.
  template <typename Answer>
  void willAnswer(Answer answer) {
    Operation::expectRequest(this->client()).WillOnce(std::move(answer));
  }

  int call() { return operation_.call(this->handle_.get()); }

  Operation operation_;
};

/// The same of making a folder.
template <typename Drive>
class DriveCreationTest : public DriveOperationTest<CreateDirectory<Drive>> {
 protected:
  int create(const char* parentId, const char* name) {
    const directory parent = folderWithId(parentId);
    return Drive::create(this->handle_.get(), &parent, name, &this->operation_.outs.record);
  }
};

/// The same of a listing; keeps the requests for pages.
template <typename Drive>
class DriveListingTest : public DriveOperationTest<ListDirectory<Drive>> {
 protected:
  using Request = typename Drive::ListRequest;
  using Answer = std::function<typename Drive::ListOutcome()>;

  /// One answer a page, in order, and no request more.
  void willAnswer(std::vector<Answer> answers) {
    const int count = static_cast<int>(answers.size());
    Drive::expectPage(this->client())
        .Times(count)
        .WillRepeatedly([this, answers = std::move(answers)](const Request& request) {
          sent_.push_back(request);
          return answers.at(sent_.size() - 1)();
        });
  }

  int list(const char* parentId) {
    return this->operation_.call(this->handle_.get(), folderWithId(parentId));
  }

  std::vector<Folder> folders() const { return this->operation_.outs.folders(); }

  std::vector<Request> sent_;
};

}  // namespace UnitTests
