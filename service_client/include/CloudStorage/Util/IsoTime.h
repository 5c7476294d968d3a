#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "CloudStorage/Export.h"

namespace CloudStorage::Util {

/// A time as a service sent it (RFC 3339, with or without a fraction of a second). The text is
/// parsed on demand: a listing has two times per entry, and most are never used.
class CLOUDSTORAGE_API IsoTime {
 public:
  /// From the year 0 to 9999. Services send times before 1970, also the year 1 for none.
  using Value = std::chrono::time_point<std::chrono::system_clock, std::chrono::microseconds>;

  IsoTime() = default;
  /// `text` must outlive this object.
  explicit IsoTime(std::string_view text) : text_(text) {}

  /// Empty if the service sent no time.
  std::string_view text() const { return text_; }
  /// The parsed time; the beginning of 1970 if the text is empty or not valid.
  Value value() const;
  /// value() in UTC with six fractional digits: `2015-03-02T10:00:00.000000Z`.
  std::string toString() const;

 private:
  std::string_view text_;
};

}  // namespace CloudStorage::Util
