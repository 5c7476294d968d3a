#include "private_file.h"

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <string>

namespace {

using testing::HasSubstr;

constexpr uid_t kUser = 1000;
constexpr uid_t kOther = 1001;

std::string objection(mode_t mode, uid_t owner, const std::string& file = "accounts.json") {
  struct stat attributes {};
  attributes.st_mode = mode;
  attributes.st_uid = owner;
  return tool::objectionTo(file, attributes, kUser);
}

TEST(PrivateFile, IsOneThatOnlyItsOwnerCanAccess) {
  for (const mode_t permissions : {0600U, 0400U, 0700U}) {
    EXPECT_EQ(objection(S_IFREG | permissions, kUser), "");
  }
}

TEST(PrivateFile, OfAnotherUserIsRefusedWhateverItsPermissions) {
  for (const mode_t permissions : {0600U, 0644U}) {
    EXPECT_THAT(objection(S_IFREG | permissions, kOther),
                HasSubstr("'accounts.json' belongs to another user (id 1001); run vemlo as"));
  }
}

TEST(PrivateFile, ThatOthersCanAccessIsRefusedWithTheCommandToRun) {
  for (const mode_t permissions : {0640U, 0620U, 0610U, 0604U, 0602U, 0601U}) {
    EXPECT_THAT(objection(S_IFREG | permissions, kUser), HasSubstr("`chmod 600 'accounts.json'`"));
  }
  EXPECT_THAT(objection(S_IFREG | 0644, kUser), HasSubstr("(mode 644)"));
}

TEST(PrivateFile, HasItsNameQuotedInTheCommand) {
  EXPECT_THAT(objection(S_IFREG | 0644, kUser, "/o'neill/a b"),
              HasSubstr(R"(`chmod 600 '/o'\''neill/a b'`)"));
}

TEST(PrivateFile, IsARegularFile) {
  EXPECT_THAT(objection(S_IFDIR | 0600, kUser), HasSubstr("is a folder; move it away"));
  EXPECT_THAT(objection(S_IFIFO | 0600, kUser), HasSubstr("is a named pipe; move it away"));
  EXPECT_THAT(objection(S_IFCHR | 0600, kUser), HasSubstr("is a device; move it away"));
  EXPECT_THAT(objection(S_IFBLK | 0600, kUser), HasSubstr("is a device; move it away"));
  EXPECT_THAT(objection(S_IFSOCK | 0600, kUser), HasSubstr("is a special file; move it away"));
}

}  // namespace
