#include "suggestion.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const std::vector<std::string> kWords{"s3", "azure", "login", "logout", "ls", "mkdir", "accounts"};

TEST(Suggestion, IsTheWordThatWasMisspelt) {
  EXPECT_EQ(tool::closest("lst", kWords), "ls");      // a letter too many
  EXPECT_EQ(tool::closest("azue", kWords), "azure");  // a letter too few
  EXPECT_EQ(tool::closest("mkdor", kWords), "mkdir");
  EXPECT_EQ(tool::closest("mkdri", kWords), "mkdir");  // two letters exchanged
  EXPECT_EQ(tool::closest("s4", kWords), "s3");
  EXPECT_EQ(tool::closest("list", kWords), "ls");
}

TEST(Suggestion, IgnoresCase) {
  EXPECT_EQ(tool::closest("LS", kWords), "ls");
  EXPECT_EQ(tool::closest("Login", kWords), "login");
}

TEST(Suggestion, IsTheClosestOfSeveral) {
  EXPECT_EQ(tool::closest("logouts", kWords), "logout");
  EXPECT_EQ(tool::closest("logn", kWords), "login");
}

TEST(Suggestion, CompletesAnAbbreviation) {
  EXPECT_EQ(tool::closest("acc", kWords), "accounts");
  EXPECT_EQ(tool::closest("--secret-key", {"--endpoint", "--secret-key-file"}),
            "--secret-key-file");
}

TEST(Suggestion, DoesNotCompleteWhatSeveralWordsBeginWith) {
  EXPECT_EQ(tool::closest("--proxy", {"--proxy-user", "--proxy-password-file"}), "");
}

TEST(Suggestion, IsNoneForAnotherWord) {
  for (const char* word : {"", "x", "teleport", "rename", "cp"}) {
    EXPECT_EQ(tool::closest(word, kWords), "") << word;
  }
  EXPECT_EQ(tool::closest("ls", {}), "");
}

}  // namespace
