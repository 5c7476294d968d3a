#include "Util/Time.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <string_view>

namespace CloudStorage::Util {
namespace {

constexpr std::array<std::string_view, 7> kDays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<std::string_view, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// Reads fixed-width fields in sequence. After the first mismatch it has failed permanently.
class Scanner {
 public:
  explicit Scanner(std::string_view text) : rest_(text) {}

  int number(std::size_t width) {
    int value = 0;
    for (const char c : take(width)) {
      if (c < '0' || c > '9') failed_ = true;
      value = value * 10 + (c - '0');
    }
    return value;
  }

  int month() {
    const std::string_view name = take(3);
    for (std::size_t i = 0; i < kMonths.size(); ++i) {
      if (kMonths.at(i) == name) return static_cast<int>(i);
    }
    failed_ = true;
    return 0;
  }

  void literal(std::string_view expected) {
    if (take(expected.size()) != expected) failed_ = true;
  }

  // One of the characters in `expected`, which is returned; 0 if it is none of them.
  char oneOf(std::string_view expected) {
    const std::string_view found = take(1);
    if (!found.empty() && expected.find(found.front()) != std::string_view::npos) {
      return found.front();
    }
    failed_ = true;
    return '\0';
  }

  void skip(std::size_t width) { take(width); }

  std::chrono::microseconds fraction() {
    int value = 0;
    if (rest_.substr(0, 1) != ".") return {};
    rest_.remove_prefix(1);
    int worth = 100000;  // of the next digit in microseconds; 0 after the sixth digit
    while (!rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9') {
      value += (rest_.front() - '0') * worth;
      worth /= 10;
      rest_.remove_prefix(1);
    }
    return std::chrono::microseconds(value);
  }

  bool atEnd() const { return !failed_ && rest_.empty(); }

 private:
  std::string_view take(std::size_t width) {
    if (rest_.size() < width) {
      failed_ = true;
      return {};
    }
    const auto piece = rest_.substr(0, width);
    rest_.remove_prefix(width);
    return piece;
  }

  std::string_view rest_;
  bool failed_ = false;
};

constexpr int kFirstYearOfTm = 1900;

// The clock counts nanoseconds since 1970 in 64 bits, which overflow after the last year.
constexpr int kFirstYear = 1970;
constexpr int kLastYear = 2261;

// The fields of a UTC time.
struct CivilTime {
  int year = 0;
  int month = 0;  // 0 is January
  int day = 0;
  int hour = 0;
  int minute = 0;
  int second = 0;
  std::chrono::microseconds fraction{};
};

bool isLeapYear(int year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

int daysInMonth(int year, int month) {
  constexpr std::array<int, 12> kDaysInMonth = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  constexpr int kFebruary = 1;
  return kDaysInMonth.at(static_cast<std::size_t>(month)) +
         (month == kFebruary && isLeapYear(year) ? 1 : 0);
}

// Days from 1 January 1970 to 1 January of `year`.
int daysBeforeYear(int year) {
  constexpr int kCycle = 400;  // added so that the divisions do not round up before the year 1
  const auto leapYearsUpTo = [](int last) { return last / 4 - last / 100 + last / 400; };
  return (year - kFirstYear) * 365 + leapYearsUpTo(year - 1 + kCycle) -
         leapYearsUpTo(kFirstYear - 1 + kCycle);
}

int daysBeforeMonth(int year, int month) {
  constexpr std::array<int, 12> kDaysBefore = {0,   31,  59,  90,  120, 151,
                                               181, 212, 243, 273, 304, 334};
  constexpr int kFebruary = 1;
  return kDaysBefore.at(static_cast<std::size_t>(month)) +
         (month > kFebruary && isLeapYear(year) ? 1 : 0);
}

// Does not use timegm(), which costs as much as the rest of parsing one entry of a listing. A leap
// second is the first second of the next minute, as the clock has none.
std::optional<UtcTime> toUtcTime(const CivilTime& utc) {
  const bool isTime = utc.month >= 0 && utc.month < 12 && utc.day >= 1 &&
                      utc.day <= daysInMonth(utc.year, utc.month) && utc.hour < 24 &&
                      utc.minute < 60 && utc.second <= 60;
  if (!isTime) return std::nullopt;
  const int days = daysBeforeYear(utc.year) + daysBeforeMonth(utc.year, utc.month) + utc.day - 1;
  return UtcTime(std::chrono::hours(days * 24L + utc.hour) + std::chrono::minutes(utc.minute) +
                 std::chrono::seconds(utc.second) + utc.fraction);
}

std::optional<TimePoint> toTimePoint(const std::optional<UtcTime>& time) {
  static const UtcTime first = *toUtcTime({kFirstYear, 0, 1});
  static const UtcTime end = *toUtcTime({kLastYear + 1, 0, 1});
  return time && *time >= first && *time < end ? std::optional<TimePoint>(*time) : std::nullopt;
}

std::tm toUtc(std::chrono::time_point<std::chrono::system_clock, std::chrono::seconds> time) {
  const std::time_t seconds = time.time_since_epoch().count();
  std::tm utc{};
  gmtime_r(&seconds, &utc);
  return utc;
}

void scanTimeOfDay(Scanner& scanner, CivilTime& utc) {
  utc.hour = scanner.number(2);
  scanner.literal(":");
  utc.minute = scanner.number(2);
  scanner.literal(":");
  utc.second = scanner.number(2);
}

// The offset from UTC: `Z`, or hours and minutes with a sign.
std::chrono::minutes scanOffset(Scanner& scanner) {
  const char sign = scanner.oneOf("Zz+-");
  if (sign != '+' && sign != '-') return {};
  const std::chrono::hours hours(scanner.number(2));
  scanner.literal(":");
  const std::chrono::minutes offset = hours + std::chrono::minutes(scanner.number(2));
  return sign == '+' ? offset : -offset;
}

}  // namespace

std::optional<UtcTime> parseUtcTime(std::string_view text) {
  Scanner scanner(text);
  CivilTime local;
  local.year = scanner.number(4);
  scanner.literal("-");
  local.month = scanner.number(2) - 1;
  scanner.literal("-");
  local.day = scanner.number(2);
  scanner.oneOf("Tt ");
  scanTimeOfDay(scanner, local);
  local.fraction = scanner.fraction();
  const auto offset = scanOffset(scanner);
  const auto time = scanner.atEnd() ? toUtcTime(local) : std::nullopt;
  return time ? std::optional(*time - offset) : std::nullopt;
}

std::optional<TimePoint> parseIsoTime(std::string_view text) {
  return toTimePoint(parseUtcTime(text));
}

std::string formatIsoTime(UtcTime time) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
  const std::tm utc = toUtc(seconds);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02dT%02d:%02d:%02d.%06dZ",
                utc.tm_year + kFirstYearOfTm, utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min,
                utc.tm_sec, static_cast<int>((time - seconds).count()));
  return text.data();
}

std::string formatIsoTime(TimePoint time) {
  return formatIsoTime(std::chrono::floor<std::chrono::microseconds>(time));
}

std::optional<TimePoint> parseHttpDate(std::string_view text) {
  Scanner scanner(text);
  CivilTime utc;
  scanner.skip(3);  // the day of the week is redundant
  scanner.literal(", ");
  utc.day = scanner.number(2);
  scanner.literal(" ");
  utc.month = scanner.month();
  scanner.literal(" ");
  utc.year = scanner.number(4);
  scanner.literal(" ");
  scanTimeOfDay(scanner, utc);
  scanner.literal(" GMT");
  return scanner.atEnd() ? toTimePoint(toUtcTime(utc)) : std::nullopt;
}

std::string formatHttpDate(TimePoint time) {
  const std::tm utc = toUtc(std::chrono::floor<std::chrono::seconds>(time));
  std::array<char, 32> text{};
  std::snprintf(text.data(), text.size(), "%s, %02d %s %04d %02d:%02d:%02d GMT",
                kDays.at(static_cast<std::size_t>(utc.tm_wday)).data(), utc.tm_mday,
                kMonths.at(static_cast<std::size_t>(utc.tm_mon)).data(),
                utc.tm_year + kFirstYearOfTm, utc.tm_hour, utc.tm_min, utc.tm_sec);
  return text.data();
}

}  // namespace CloudStorage::Util
