#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <utility>

#include "CloudStorage/Util/IsoTime.h"

namespace {

using CloudStorage::Util::IsoTime;
using std::chrono::microseconds;

/// Microseconds since the beginning of 1970.
microseconds::rep microsecondsOf(const char* text) {
  return std::chrono::duration_cast<microseconds>(IsoTime(text).value().time_since_epoch()).count();
}

TEST(IsoTime, IsReadWithItsFraction) {
  EXPECT_EQ(microsecondsOf("2024-02-29T08:30:15Z"), 1709195415000000);
  EXPECT_EQ(microsecondsOf("2024-02-29T08:30:15.1Z"), 1709195415100000);
  EXPECT_EQ(microsecondsOf("2024-02-29T08:30:15.120Z"), 1709195415120000);
  EXPECT_EQ(microsecondsOf("2024-02-29T08:30:15.000001Z"), 1709195415000001);
  EXPECT_EQ(microsecondsOf("2024-02-29T08:30:15.1234567Z"), 1709195415123456);
  EXPECT_EQ(microsecondsOf("2024-02-29T08:30:15.999999999Z"), 1709195415999999);
}

TEST(IsoTime, InvalidTextIsTheBeginningOf1970) {
  EXPECT_EQ(IsoTime().value(), std::chrono::system_clock::time_point());
  for (const char* text :
       {"", "yesterday", "2024-02-29", "2023-02-29T00:00:00Z", "2024-02-29T08:30:15.5"}) {
    EXPECT_EQ(microsecondsOf(text), 0) << text;
    EXPECT_EQ(IsoTime(text).toString(), "1970-01-01T00:00:00.000000Z") << text;
  }
}

TEST(IsoTime, KeepsTheTextOfTheService) {
  EXPECT_EQ(IsoTime().text(), "");
  EXPECT_EQ(IsoTime("2015-03-02T10:00:00.1Z").text(), "2015-03-02T10:00:00.1Z");
  EXPECT_EQ(IsoTime("yesterday").text(), "yesterday");
}

TEST(IsoTime, IsWrittenWithSixDigitsOfFraction) {
  const std::pair<const char*, const char*> examples[] = {
      {"2015-03-02T10:00:00Z", "2015-03-02T10:00:00.000000Z"},
      {"2015-03-02T10:00:00.5Z", "2015-03-02T10:00:00.500000Z"},
      {"2015-03-02T10:00:00.012Z", "2015-03-02T10:00:00.012000Z"},
      {"2015-12-31T23:59:59.9999999Z", "2015-12-31T23:59:59.999999Z"},
      {"2261-01-01T00:00:00.000009Z", "2261-01-01T00:00:00.000009Z"},
      {"1969-12-31T23:59:59.5Z", "1969-12-31T23:59:59.500000Z"},
      {"1600-02-29T00:00:00.000001Z", "1600-02-29T00:00:00.000001Z"},
      {"0001-01-01T00:00:00Z", "0001-01-01T00:00:00.000000Z"},
      {"0000-12-31T00:00:00Z", "0000-12-31T00:00:00.000000Z"},
      {"9999-12-31T23:59:59.9999999Z", "9999-12-31T23:59:59.999999Z"},
      {"2024-02-29T10:30:15+02:00", "2024-02-29T08:30:15.000000Z"},
      {"2024-06-30T23:30:60-01:30", "2024-07-01T01:01:00.000000Z"}};
  for (const auto& [text, written] : examples) EXPECT_EQ(IsoTime(text).toString(), written) << text;
}

}  // namespace
