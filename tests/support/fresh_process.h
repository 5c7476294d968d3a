#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

namespace TestSupport {

/// Runs `body`, expectations included, in a process in which nothing has happened yet: the logger
/// and other things of which a process has one are as after its start.
template <typename Body>
void inFreshProcess(const Body& body) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";  // starts the program anew, no mere fork
  EXPECT_EXIT(
      {
        body();
        std::exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
      },
      testing::ExitedWithCode(EXIT_SUCCESS), "");
}

}  // namespace TestSupport
