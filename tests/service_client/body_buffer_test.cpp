#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <thread>
#include <utility>

#include "Util/BodyBuffer.h"

namespace {

using CloudStorage::Util::giveBackBodyBuffer;
using CloudStorage::Util::takeBodyBuffer;

constexpr std::size_t kUsual = 100'000;
constexpr std::size_t kHuge = 1'000'000;

/// Runs `work` in a thread that has kept nothing yet.
template <typename Work>
void inNewThread(const Work& work) {
  std::thread(work).join();
}

std::string bodyOf(std::size_t size) {
  std::string body = takeBodyBuffer(size);
  body.append(size, 'x');
  return body;
}

TEST(BodyBuffer, IsEmptyAndHasRoom) {
  inNewThread([] {
    for (const std::size_t size : {std::size_t{0}, kUsual, kHuge}) {
      const std::string buffer = takeBodyBuffer(size);
      EXPECT_TRUE(buffer.empty()) << size;
      EXPECT_GE(buffer.capacity(), size);
    }
  });
}

TEST(BodyBuffer, GoesFromOneBodyToTheNext) {
  inNewThread([] {
    std::string first = bodyOf(kUsual);
    const char* const place = first.data();
    giveBackBodyBuffer(std::move(first));
    const std::string second = takeBodyBuffer(kUsual / 2);
    EXPECT_EQ(second.data(), place);
    EXPECT_TRUE(second.empty());
  });
}

TEST(BodyBuffer, IsOnlyOnesAtATime) {
  inNewThread([] {
    giveBackBodyBuffer(bodyOf(kUsual));
    const std::string first = bodyOf(kUsual);
    const std::string second = bodyOf(kUsual);
    EXPECT_NE(first.data(), second.data());
  });
}

TEST(BodyBuffer, TheLargerOneIsKept) {
  inNewThread([] {
    std::string small = bodyOf(kUsual / 2);
    std::string large = bodyOf(kUsual);
    giveBackBodyBuffer(std::move(large));
    giveBackBodyBuffer(std::move(small));
    EXPECT_GE(takeBodyBuffer(0).capacity(), kUsual);
  });
}

TEST(BodyBuffer, NoThreadKeepsAHugeOne) {
  inNewThread([] {
    giveBackBodyBuffer(bodyOf(kHuge));
    EXPECT_LT(takeBodyBuffer(0).capacity(), kHuge);
  });
}

TEST(BodyBuffer, EachThreadHasItsOwn) {
  inNewThread([] {
    giveBackBodyBuffer(bodyOf(kUsual));
    inNewThread([] { EXPECT_LT(takeBodyBuffer(0).capacity(), kUsual); });
    EXPECT_GE(takeBodyBuffer(0).capacity(), kUsual);
  });
}

/// Uses a buffer when its thread throws away what it kept.
struct UsesABufferAtTheEnd {
  ~UsesABufferAtTheEnd() {
    std::string body = bodyOf(kUsual);
    EXPECT_EQ(body.size(), kUsual);
    giveBackBodyBuffer(std::move(body));
  }
};

TEST(BodyBuffer, CanBeUsedWhileTheThreadEnds) {
  inNewThread([] {
    thread_local UsesABufferAtTheEnd late;  // made first, so thrown away last
    (void)late;
    giveBackBodyBuffer(bodyOf(kUsual));
  });
}

}  // namespace
