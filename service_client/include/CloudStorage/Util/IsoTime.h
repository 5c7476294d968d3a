#pragma once

#include <chrono>
#include <string>
#include <string_view>

#include "CloudStorage/Export.h"

namespace CloudStorage::Util {

/// A moment as a service wrote it (ISO 8601, UTC, with or without a fraction of a second). Read
/// only when somebody wants it: a listing has two for each entry, and hardly anybody looks.
class CLOUDSTORAGE_API IsoTime {
 public:
  IsoTime() = default;
  /// `text` must last as long as this object.
  explicit IsoTime(std::string_view text) : text_(text) {}

  /// Empty if the service named none.
  std::string_view text() const { return text_; }
  /// The beginning of 1970 if there is none, or if it is not understood.
  std::chrono::system_clock::time_point value() const;
  /// Of value(), with six digits of fraction: `2015-03-02T10:00:00.000000Z`.
  std::string toString() const;

 private:
  std::string_view text_;
};

}  // namespace CloudStorage::Util
