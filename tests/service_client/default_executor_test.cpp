#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "CloudStorage/Util/Threading/DefaultExecutor.h"

namespace {

using CloudStorage::Util::Threading::DefaultExecutor;

TEST(DefaultExecutor, RunsATaskAtOnceInTheCallingThread) {
  DefaultExecutor executor;
  std::thread::id ranIn;
  EXPECT_TRUE(executor.submit([&ranIn] { ranIn = std::this_thread::get_id(); }));
  EXPECT_EQ(ranIn, std::this_thread::get_id());
}

TEST(DefaultExecutor, ATaskMaySubmitAnother) {
  DefaultExecutor executor;
  int depth = 0;
  EXPECT_TRUE(executor.submit([&] {
    ++depth;
    EXPECT_TRUE(executor.submit([&depth] { ++depth; }));
  }));
  EXPECT_EQ(depth, 2);
}

TEST(DefaultExecutor, RefusesAnEmptyTask) {
  DefaultExecutor executor;
  EXPECT_FALSE(executor.submit(nullptr));
}

TEST(DefaultExecutor, PropagatesExceptions) {
  DefaultExecutor executor;
  EXPECT_THROW(executor.submit([] { throw std::runtime_error("task"); }), std::runtime_error);
}

}  // namespace
