#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "Http/RetryAfter.h"

namespace {

using CloudStorage::Http::HeaderValueCollection;
using CloudStorage::Http::retryAfter;

constexpr std::int64_t kNone = -1;

// 2024-02-29 08:30:15 UTC
const auto kNow = std::chrono::system_clock::from_time_t(1709195415);

std::int64_t secondsOf(const HeaderValueCollection& headers) {
  const auto time = retryAfter(headers, kNow);
  return time ? time->count() : kNone;
}

std::int64_t secondsOf(const std::string& text) { return secondsOf({{"retry-after", text}}); }

TEST(RetryAfter, IsANumberOfSeconds) {
  EXPECT_EQ(secondsOf("0"), 0);
  EXPECT_EQ(secondsOf("120"), 120);
  EXPECT_EQ(secondsOf("9223372036854775807"), INT64_MAX);
}

TEST(RetryAfter, FractionsAreRoundedUp) {
  EXPECT_EQ(secondsOf("2.128"), 3);
  EXPECT_EQ(secondsOf("2.0"), 2);
  EXPECT_EQ(secondsOf("2."), 2);
  EXPECT_EQ(secondsOf("9223372036854775807.5"), INT64_MAX);
}

TEST(RetryAfter, TimeOfDayCountsFromTheDateOfTheResponse) {
  EXPECT_EQ(secondsOf({{"retry-after", "Thu, 29 Feb 2024 09:00:20 GMT"},
                       {"date", "Thu, 29 Feb 2024 09:00:00 GMT"}}),
            20)
      << "whatever this computer's clock shows";
}

TEST(RetryAfter, TimeOfDayCountsFromNowIfTheResponseHasNoUsableDate) {
  EXPECT_EQ(secondsOf("Thu, 29 Feb 2024 08:31:15 GMT"), 60);
  EXPECT_EQ(secondsOf({{"retry-after", "Thu, 29 Feb 2024 08:31:15 GMT"}, {"date", "today"}}), 60);
}

TEST(RetryAfter, TimeInThePastIsNow) {
  EXPECT_EQ(secondsOf("Thu, 29 Feb 2024 08:30:15 GMT"), 0);
  EXPECT_EQ(secondsOf("Thu, 29 Feb 2024 08:00:00 GMT"), 0);
}

TEST(RetryAfter, MillisecondsAreUsedIfThereAreNoSeconds) {
  EXPECT_EQ(secondsOf({{"x-ms-retry-after-ms", "1500"}}), 2);
  EXPECT_EQ(secondsOf({{"x-ms-retry-after-ms", "2000"}}), 2);
  EXPECT_EQ(secondsOf({{"x-ms-retry-after-ms", "9223372036854775807"}}), 9223372036854776);
  EXPECT_EQ(secondsOf({{"x-ms-retry-after-ms", "1500"}, {"retry-after", "soon"}}), 2);
  EXPECT_EQ(secondsOf({{"x-ms-retry-after-ms", "1500"}, {"retry-after", "7"}}), 7);
}

TEST(RetryAfter, AnythingElseIsNotStated) {
  EXPECT_EQ(secondsOf(HeaderValueCollection{}), kNone);
  for (const char* text : {"", "soon", "-1", "-0", "+5", "0x10", "5 s", "5, 5", "2.x", ".5",
                           "9223372036854775808", "Thu, 29 Foo 2024 08:30:15 GMT"}) {
    EXPECT_EQ(secondsOf(text), kNone) << text;
  }
  for (const char* text : {"", "-5", "1.5", "5 ms"}) {
    EXPECT_EQ(secondsOf({{"x-ms-retry-after-ms", text}}), kNone) << text;
  }
}

}  // namespace
