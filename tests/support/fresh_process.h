#pragma once

#include <gtest/gtest.h>

#include <cstdlib>

namespace TestSupport {

/// Runs `body`, including its expectations, in a new process: the logger and other things that a
/// process has one of are in their initial state.
template <typename Body>
void inFreshProcess(const Body& body) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";  // executes the program again
  EXPECT_EXIT(
      {
        body();
        std::exit(testing::Test::HasFailure() ? EXIT_FAILURE : EXIT_SUCCESS);
      },
      testing::ExitedWithCode(EXIT_SUCCESS), "");
}

}  // namespace TestSupport
