#include "suggestion.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

const std::vector<std::string> kWords{"s3", "azure", "login", "logout", "ls", "mkdir", "accounts"};

TEST(Suggestion, IsTheWordThatWasMisspelt) {
  EXPECT_EQ(vemlo::closest("lst", kWords), "ls");      // a letter too many
  EXPECT_EQ(vemlo::closest("azue", kWords), "azure");  // a letter too few
  EXPECT_EQ(vemlo::closest("mkdor", kWords), "mkdir");
  EXPECT_EQ(vemlo::closest("mkdri", kWords), "mkdir");  // two letters exchanged
  EXPECT_EQ(vemlo::closest("s4", kWords), "s3");
  EXPECT_EQ(vemlo::closest("list", kWords), "ls");
}

TEST(Suggestion, IgnoresCase) {
  EXPECT_EQ(vemlo::closest("LS", kWords), "ls");
  EXPECT_EQ(vemlo::closest("Login", kWords), "login");
}

TEST(Suggestion, IsTheClosestOfSeveral) {
  EXPECT_EQ(vemlo::closest("logouts", kWords), "logout");
  EXPECT_EQ(vemlo::closest("logn", kWords), "login");
}

TEST(Suggestion, CompletesAnAbbreviation) {
  EXPECT_EQ(vemlo::closest("acc", kWords), "accounts");
  EXPECT_EQ(vemlo::closest("--secret-key", {"--endpoint", "--secret-key-file"}),
            "--secret-key-file");
}

TEST(Suggestion, DoesNotCompleteWhatSeveralWordsBeginWith) {
  EXPECT_EQ(vemlo::closest("--proxy", {"--proxy-user", "--proxy-password-file"}), "");
}

TEST(Suggestion, IsNoneForAnotherWord) {
  for (const char* word : {"", "x", "teleport", "rename", "cp"}) {
    EXPECT_EQ(vemlo::closest(word, kWords), "") << word;
  }
  EXPECT_EQ(vemlo::closest("ls", {}), "");
}

}  // namespace
