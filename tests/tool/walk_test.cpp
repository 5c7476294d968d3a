#include "walk.h"

#include <gmock/gmock.h>

#include <map>
#include <string>
#include <vector>

#include "command_failure.h"

namespace {

using testing::ElementsAre;

/// Folders by the path of their parents. Their ids are their names.
class FakeStorage : public tool::Storage {
 public:
  std::map<std::string, std::vector<std::string>> children;
  std::string broken;
  bool nestsForever = false;
  bool isCutShort = false;

  tool::Folder find(const std::string& path) override { return {"", "root", path}; }

  tool::Folders foldersIn(const tool::Folder& parent) override {
    if (!broken.empty() && parent.path == broken) {
      throw tool::CommandFailure(tool::ExitCode::ServiceFailed, "broken");
    }
    tool::Folders found;
    found.isCutShort = isCutShort;
    if (nestsForever) found.folders.push_back({"x", "", tool::joined(parent.path, "x")});
    for (const std::string& name : children[parent.path]) {
      found.folders.push_back({name, name, tool::joined(parent.path, name)});
    }
    return found;
  }

  tool::Folder make(const std::string& /*path*/, const std::string& /*region*/) override {
    return {};
  }
  tool::Folder makeAll(const std::string& /*path*/, const std::string& /*region*/) override {
    return {};
  }
  std::string describe(const std::string& path) const override { return "'" + path + "'"; }
  std::string wordForFoldersIn(const tool::Folder& /*parent*/) const override { return "folders"; }
};

struct Walked {
  std::vector<std::string> paths;
  bool isComplete = true;
};

Walked walked(FakeStorage& storage, std::size_t depth = 0) {
  Walked result;
  tool::Walk walk(storage, depth,
                  [&result](const tool::Step& step) { result.paths.push_back(step.folder.path); });
  const tool::Folder start = storage.find("");
  walk.run(start, storage.foldersIn(start));
  try {
    walk.requireComplete();
  } catch (const tool::CommandFailure&) {
    result.isComplete = false;
  }
  return result;
}

class AWalk : public testing::Test {
 protected:
  void SetUp() override {
    storage_.children[""] = {"a", "b"};
    storage_.children["a"] = {"c", "d"};
    storage_.children["a/c"] = {"e"};
  }

  FakeStorage storage_;
};

TEST_F(AWalk, VisitsAFolderBeforeThoseInIt) {
  EXPECT_THAT(walked(storage_).paths, ElementsAre("a", "a/c", "a/c/e", "a/d", "b"));
  EXPECT_TRUE(walked(storage_).isComplete);
}

TEST_F(AWalk, EndsAtItsDepth) {
  EXPECT_THAT(walked(storage_, 1).paths, ElementsAre("a", "b"));
  EXPECT_THAT(walked(storage_, 2).paths, ElementsAre("a", "a/c", "a/d", "b"));
}

TEST_F(AWalk, DoesNotListFoldersThatItDoesNotShow) {
  storage_.broken = "a";
  EXPECT_TRUE(walked(storage_, 1).isComplete);
}

TEST_F(AWalk, GoesOnBehindAFolderThatCannotBeListed) {
  storage_.broken = "a/c";
  const Walked result = walked(storage_);
  EXPECT_THAT(result.paths, ElementsAre("a", "a/c", "a/d", "b"));
  EXPECT_FALSE(result.isComplete);
}

TEST_F(AWalk, KnowsWhichFolderIsTheLastOfItsLevel) {
  std::vector<std::vector<bool>> levels;
  tool::Walk walk(storage_, 0,
                  [&levels](const tool::Step& step) { levels.push_back(step.isLast); });
  const tool::Folder start = storage_.find("");
  walk.run(start, storage_.foldersIn(start));
  const std::vector<std::vector<bool>> expected{
      {false}, {false, false}, {false, false, true}, {false, true}, {true}};
  EXPECT_EQ(levels, expected);
}

TEST_F(AWalk, DoesNotFollowAFolderThatContainsItself) {
  storage_.children["a/c/e"] = {"a"};
  const Walked result = walked(storage_);
  EXPECT_THAT(result.paths, ElementsAre("a", "a/c", "a/c/e", "a/c/e/a", "a/d", "b"));
  EXPECT_FALSE(result.isComplete);
}

TEST_F(AWalk, VisitsAFolderThatIsInTwoOthersTwice) {
  storage_.children["b"] = {"d"};
  EXPECT_THAT(walked(storage_).paths, ElementsAre("a", "a/c", "a/c/e", "a/d", "b", "b/d"));
  EXPECT_TRUE(walked(storage_).isComplete);
}

TEST_F(AWalk, EndsInFoldersThatAreNestedWithoutEnd) {
  storage_.nestsForever = true;
  storage_.children.clear();
  const Walked result = walked(storage_);
  EXPECT_EQ(result.paths.size(), 500U);
  EXPECT_FALSE(result.isComplete);
}

TEST_F(AWalk, IsIncompleteIfAListingIsCutShort) {
  storage_.isCutShort = true;
  EXPECT_FALSE(walked(storage_).isComplete);
}

}  // namespace
