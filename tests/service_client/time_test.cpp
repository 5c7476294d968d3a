#include "Util/Time.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>
#include <utility>

namespace {

using CloudStorage::Util::formatHttpDate;
using CloudStorage::Util::formatIsoTime;
using CloudStorage::Util::parseHttpDate;
using CloudStorage::Util::parseIsoTime;
using CloudStorage::Util::TimePoint;

std::optional<std::time_t> secondsOf(const std::optional<TimePoint>& time) {
  if (!time) return std::nullopt;
  return std::chrono::system_clock::to_time_t(*time);
}

constexpr std::time_t kLeapDay = 1709195415;  // 2024-02-29 08:30:15 UTC

TimePoint timeAt(std::time_t seconds) { return std::chrono::system_clock::from_time_t(seconds); }

TEST(Time, ReadsIsoTimes) {
  EXPECT_EQ(secondsOf(parseIsoTime("2024-02-29T08:30:15Z")), kLeapDay);
  EXPECT_EQ(secondsOf(parseIsoTime("1970-01-01T00:00:00Z")), 0);
  EXPECT_EQ(secondsOf(parseIsoTime("2000-12-31T23:59:59Z")), 978307199);
}

TEST(Time, ReadsFractionsToTheMicrosecond) {
  const std::pair<std::string, int> fractions[] = {{".", 0},
                                                   {".0", 0},
                                                   {".000", 0},
                                                   {".999", 999000},
                                                   {".000001", 1},
                                                   {".0000009", 0},
                                                   {".1234567", 123456},
                                                   {".123456789", 123456},
                                                   {".999999999999", 999999}};
  for (const auto& [fraction, value] : fractions) {
    EXPECT_EQ(parseIsoTime("2024-02-29T08:30:15" + fraction + "Z"),
              timeAt(kLeapDay) + std::chrono::microseconds(value))
        << fraction;
  }
}

TEST(Time, ReadsOffsetsFromUtc) {
  for (const char* text :
       {"2024-02-29T10:30:15+02:00", "2024-02-29T03:00:15-05:30", "2024-02-29T08:30:15+00:00",
        "2024-02-29T08:30:15-00:00", "2024-02-29T08:30:15z", "2024-02-29t08:30:15Z",
        "2024-02-29 08:30:15Z", "2024-03-01T00:30:15+16:00"}) {
    EXPECT_EQ(secondsOf(parseIsoTime(text)), kLeapDay) << text;
  }
}

TEST(Time, ALeapSecondIsTheFirstSecondOfTheNextMinute) {
  EXPECT_EQ(parseIsoTime("2016-12-31T23:59:60Z"), parseIsoTime("2017-01-01T00:00:00Z"));
  EXPECT_EQ(parseIsoTime("2016-12-31T18:59:60.25-05:00"), parseIsoTime("2017-01-01T00:00:00.25Z"));
}

TEST(Time, InvalidIsoTimesAreRefused) {
  for (const char* text : {"",
                           "Z",
                           "2024",
                           "2024-02-29",
                           "2024-02-29T08:30:15",
                           "2024-02-29T08:30Z",
                           "2024-02-29T08:30:15ZZ",
                           " 2024-02-29T08:30:15Z",
                           "2024-02-29T08:30:15Z ",
                           "2024-2-29T08:30:15Z",
                           "24-02-29T08:30:15Z",
                           "2024/02/29T08:30:15Z",
                           "2024-02-29T08:30:15,5Z",
                           "2024-02-29T08:30:15.5xZ",
                           "2024-02-29T08:30:1xZ",
                           "20x4-02-29T08:30:15Z",
                           "2024-02-29T-8:30:15Z",
                           "20240229T083015Z",
                           "2023-02-29T08:30:15Z",
                           "2024-02-30T08:30:15Z",
                           "2024-06-31T08:30:15Z",
                           "2024-00-15T08:30:15Z",
                           "2024-13-15T08:30:15Z",
                           "2024-02-00T08:30:15Z",
                           "2024-02-29T24:00:00Z",
                           "2024-02-29T08:60:15Z",
                           "2024-02-29T08:30:61Z",
                           "2024-02-29T08:30:15+",
                           "2024-02-29T08:30:15+02",
                           "2024-02-29T08:30:15 02:00",
                           "2024-02-29T08:30:15+02:00Z"}) {
    EXPECT_EQ(parseIsoTime(text), std::nullopt) << text;
  }
}

TEST(Time, TimesOutsideTheRangeOfTheClockAreRefused) {
  EXPECT_TRUE(parseIsoTime("2261-12-31T23:59:59Z"));
  for (const char* text : {"0000-01-01T00:00:00Z", "0001-01-01T00:00:00Z", "1969-12-31T23:59:59Z",
                           "2262-01-01T00:00:00Z", "9999-12-31T23:59:59Z"}) {
    EXPECT_EQ(parseIsoTime(text), std::nullopt) << text;
  }
  EXPECT_EQ(parseHttpDate("Fri, 31 Dec 9999 23:59:59 GMT"), std::nullopt);
}

TEST(Time, WritesIsoTimes) {
  using std::chrono::nanoseconds;
  EXPECT_EQ(formatIsoTime(timeAt(kLeapDay)), "2024-02-29T08:30:15.000000Z");
  EXPECT_EQ(formatIsoTime(timeAt(0)), "1970-01-01T00:00:00.000000Z");
  EXPECT_EQ(formatIsoTime(timeAt(kLeapDay) + nanoseconds(1999)), "2024-02-29T08:30:15.000001Z");
  EXPECT_EQ(formatIsoTime(timeAt(kLeapDay) + nanoseconds(999999999)),
            "2024-02-29T08:30:15.999999Z");
  EXPECT_EQ(formatIsoTime(timeAt(0) - nanoseconds(1)), "1969-12-31T23:59:59.999999Z");
  EXPECT_EQ(formatIsoTime(TimePoint::max()), "2262-04-11T23:47:16.854775Z");
  EXPECT_EQ(formatIsoTime(TimePoint::min()), "1677-09-21T00:12:43.145224Z");
}

TEST(Time, ReadsHttpDates) {
  EXPECT_EQ(secondsOf(parseHttpDate("Thu, 29 Feb 2024 08:30:15 GMT")), kLeapDay);
  EXPECT_EQ(secondsOf(parseHttpDate("Thu, 01 Jan 1970 00:00:00 GMT")), 0);
}

TEST(Time, ReadsEveryMonth) {
  const char* const months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  int number = 0;
  for (const std::string month : months) {
    const std::string digits = std::to_string(++number);
    const auto iso = "2023-" + std::string(2 - digits.size(), '0') + digits + "-07T01:02:03Z";
    const auto expected = parseIsoTime(iso);
    ASSERT_TRUE(expected) << iso;
    EXPECT_EQ(parseHttpDate("Sat, 07 " + month + " 2023 01:02:03 GMT"), expected) << month;
  }
}

TEST(Time, InvalidHttpDatesAreRefused) {
  for (const char* text : {"", "Thu", "Thu, 29 Feb 2024 08:30:15", "Thu, 29 Feb 2024 08:30:15 UTC",
                           "Thu, 29 Feb 2024 08:30:15 +0000", "Thu, 29 feb 2024 08:30:15 GMT",
                           "Thu, 29 Feu 2024 08:30:15 GMT", "Thu, 9 Feb 2024 08:30:15 GMT",
                           "Thursday, 29-Feb-24 08:30:15 GMT", "Thu Feb 29 08:30:15 2024",
                           "29 Feb 2024 08:30:15 GMT", "Thu, 30 Feb 2024 08:30:15 GMT",
                           "Thu, 29 Feb 2024 08:30:15 GMT ", "Thu, 29 Feb 2024 24:30:15 GMT"}) {
    EXPECT_EQ(parseHttpDate(text), std::nullopt) << text;
  }
}

TEST(Time, WritesHttpDates) {
  EXPECT_EQ(formatHttpDate(timeAt(kLeapDay)), "Thu, 29 Feb 2024 08:30:15 GMT");
  EXPECT_EQ(formatHttpDate(timeAt(0)), "Thu, 01 Jan 1970 00:00:00 GMT");
  EXPECT_EQ(formatHttpDate(timeAt(978307199)), "Sun, 31 Dec 2000 23:59:59 GMT");
  EXPECT_EQ(formatHttpDate(timeAt(4107542400)), "Mon, 01 Mar 2100 00:00:00 GMT");
}

TEST(Time, WritesEveryDayOfTheWeek) {
  const char* const days[] = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};
  std::time_t seconds = 1709510400;  // 2024-03-04, a Monday
  int date = 4;
  for (const std::string day : days) {
    EXPECT_EQ(formatHttpDate(timeAt(seconds)), day + ", " + (date < 10 ? "0" : "") +
                                                   std::to_string(date) + " Mar 2024 00:00:00 GMT");
    seconds += 24 * 60 * 60;
    ++date;
  }
}

TEST(Time, DropsFractionsOfASecondInHttpDates) {
  EXPECT_EQ(formatHttpDate(timeAt(kLeapDay) + std::chrono::milliseconds(999)),
            "Thu, 29 Feb 2024 08:30:15 GMT");
}

TEST(Time, ReadsWhatItWrites) {
  constexpr std::time_t kStep = 40 * 24 * 60 * 60 + 3661;  // covers every month
  for (std::time_t seconds = 0; seconds < 9200000000; seconds += kStep) {
    const std::string text = formatHttpDate(timeAt(seconds));
    EXPECT_EQ(secondsOf(parseHttpDate(text)), seconds) << text;
  }
}

/// Sets the time zone of the process and restores the old one.
class ZoneSetting {
 public:
  explicit ZoneSetting(const char* zone) {
    if (const char* old = std::getenv("TZ")) old_ = old;
    ::setenv("TZ", zone, 1);
    ::tzset();
  }
  ~ZoneSetting() {
    if (old_) {
      ::setenv("TZ", old_->c_str(), 1);
    } else {
      ::unsetenv("TZ");
    }
    ::tzset();
  }
  ZoneSetting(const ZoneSetting&) = delete;
  ZoneSetting& operator=(const ZoneSetting&) = delete;

 private:
  std::optional<std::string> old_;
};

TEST(Time, DoesNotDependOnTheTimeZone) {
  const ZoneSetting zone("XYZ-05:30ABC");
  EXPECT_EQ(secondsOf(parseIsoTime("2024-02-29T08:30:15Z")), kLeapDay);
  EXPECT_EQ(secondsOf(parseHttpDate("Thu, 29 Feb 2024 08:30:15 GMT")), kLeapDay);
  EXPECT_EQ(formatHttpDate(timeAt(kLeapDay)), "Thu, 29 Feb 2024 08:30:15 GMT");
  EXPECT_EQ(formatIsoTime(timeAt(kLeapDay)), "2024-02-29T08:30:15.000000Z");
}

}  // namespace
