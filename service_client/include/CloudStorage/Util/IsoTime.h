#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "CloudStorage/Export.h"

namespace CloudStorage::Util {

/// A time as a service sent it (ISO 8601, UTC, with or without a fraction of a second). The text is
/// parsed on demand: a listing has two times per entry, and most are never used.
class CLOUDSTORAGE_API IsoTime {
 public:
  IsoTime() = default;
  /// `text` must outlive this object.
  explicit IsoTime(std::string_view text) : text_(text) {}

  /// Empty if the service sent no time.
  std::string_view text() const { return text_; }
  /// The parsed time; the beginning of 1970 if the text is empty or not valid.
  std::chrono::system_clock::time_point value() const;
  /// value() with six fractional digits: `2015-03-02T10:00:00.000000Z`.
  std::string toString() const;

 private:
  std::string_view text_;
};

}  // namespace CloudStorage::Util
