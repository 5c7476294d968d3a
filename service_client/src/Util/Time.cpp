#include "Util/Time.h"

#include <array>
#include <ctime>
#include <string_view>

namespace CloudStorage::Util {
namespace {

constexpr std::array<std::string_view, 12> kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

// Reads fixed-width pieces one after the other; fails once and for all at the first mismatch.
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

  void skip(std::size_t width) { take(width); }

  void fraction() {
    if (rest_.substr(0, 1) != ".") return;
    rest_.remove_prefix(1);
    while (!rest_.empty() && rest_.front() >= '0' && rest_.front() <= '9') rest_.remove_prefix(1);
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

// The clock counts nanoseconds in 64 bits. What lies outside would overflow it.
constexpr int kFirstYear = 1970;
constexpr int kLastYear = 2261;

std::optional<TimePoint> toTimePoint(std::tm utc) {
  const std::tm given = utc;
  const std::time_t seconds = timegm(&utc);  // normalises: a 31 June comes back as 1 July
  if (utc.tm_mon != given.tm_mon || utc.tm_mday != given.tm_mday || utc.tm_hour != given.tm_hour ||
      utc.tm_min != given.tm_min) {
    return std::nullopt;
  }
  const int year = utc.tm_year + kFirstYearOfTm;
  if (year < kFirstYear || year > kLastYear) return std::nullopt;
  return std::chrono::system_clock::from_time_t(seconds);
}

void scanTimeOfDay(Scanner& scanner, std::tm& utc) {
  utc.tm_hour = scanner.number(2);
  scanner.literal(":");
  utc.tm_min = scanner.number(2);
  scanner.literal(":");
  utc.tm_sec = scanner.number(2);
}

}  // namespace

std::optional<TimePoint> parseIsoTime(std::string_view text) {
  Scanner scanner(text);
  std::tm utc{};
  utc.tm_year = scanner.number(4) - kFirstYearOfTm;
  scanner.literal("-");
  utc.tm_mon = scanner.number(2) - 1;
  scanner.literal("-");
  utc.tm_mday = scanner.number(2);
  scanner.literal("T");
  scanTimeOfDay(scanner, utc);
  scanner.fraction();
  scanner.literal("Z");
  return scanner.atEnd() ? toTimePoint(utc) : std::nullopt;
}

std::optional<TimePoint> parseHttpDate(std::string_view text) {
  Scanner scanner(text);
  std::tm utc{};
  scanner.skip(3);  // the day of the week follows from the rest
  scanner.literal(", ");
  utc.tm_mday = scanner.number(2);
  scanner.literal(" ");
  utc.tm_mon = scanner.month();
  scanner.literal(" ");
  utc.tm_year = scanner.number(4) - kFirstYearOfTm;
  scanner.literal(" ");
  scanTimeOfDay(scanner, utc);
  scanner.literal(" GMT");
  return scanner.atEnd() ? toTimePoint(utc) : std::nullopt;
}

}  // namespace CloudStorage::Util
