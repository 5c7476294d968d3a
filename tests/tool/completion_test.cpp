#include "completion.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <CLI/CLI.hpp>

namespace {

TEST(Complete, WritesNothingToTheSystemLog) {
  const int before = setlogmask(0);
  CLI::App app("", "vemlo");
  tool::addCompletionCommands(app);
  testing::internal::CaptureStdout();
  app.parse("complete -- compl");
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "completion\tPrint a script that lets a shell complete the arguments\n");
  EXPECT_EQ(setlogmask(before) & LOG_UPTO(LOG_DEBUG) & ~LOG_MASK(LOG_EMERG), 0);
}

}  // namespace
