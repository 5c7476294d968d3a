#include "location.h"

#include <gmock/gmock.h>

#include <string>

#include "command_failure.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

TEST(Location, HasAnAccountAndAPath) {
  const tool::Location location = tool::parseLocation("work:/Photos/2019");
  EXPECT_EQ(location.account, "work");
  EXPECT_EQ(location.path, "Photos/2019");
}

TEST(Location, OfTheTopHasAnEmptyPath) {
  for (const char* text : {"work", "work:", "work:/", "work://"}) {
    EXPECT_EQ(tool::parseLocation(text).account, "work") << text;
    EXPECT_EQ(tool::parseLocation(text).path, "") << text;
  }
}

TEST(Location, MayContainColonsInItsPath) {
  EXPECT_EQ(tool::parseLocation("work:/a:b/c").account, "work");
  EXPECT_EQ(tool::parseLocation("work:/a:b/c").path, "a:b/c");
}

TEST(Location, KeepsSlashesWithinItsPath) {
  EXPECT_EQ(tool::parseLocation("work://bucket//a/").path, "bucket//a/");
}

TEST(NamesInAPath, AreWhatStandsBetweenSlashes) {
  EXPECT_THAT(tool::namesIn("a/b c/d"), ElementsAre("a", "b c", "d"));
  EXPECT_THAT(tool::namesIn("//a//b/"), ElementsAre("a", "b"));
  EXPECT_THAT(tool::namesIn(""), ElementsAre());
  EXPECT_THAT(tool::namesIn("/"), ElementsAre());
}

TEST(AccountName, HasLettersDigitsAndThreeSigns) {
  for (const char* name : {"work", "a", "Work-2", "my_photos", "a.b", ".x", "_-1", "0"}) {
    EXPECT_NO_THROW(tool::requireAccountName(name)) << name;
  }
  EXPECT_NO_THROW(tool::requireAccountName(std::string(64, 'x')));
}

TEST(AccountName, HasNothingElse) {
  for (const char* name :
       {"", "a b", "a:b", "a/b", "-a", "\xc3\xa9", "a\n", "a'b", "*", ".", "..", "_"}) {
    EXPECT_THROW(tool::requireAccountName(name), tool::CommandFailure) << name;
  }
  EXPECT_THROW(tool::requireAccountName(std::string(65, 'x')), tool::CommandFailure);
  EXPECT_THROW(tool::requireAccountName(std::string("a\0b", 3)), tool::CommandFailure);
}

}  // namespace
