#include "CloudStorage/Util/IsoTime.h"

#include "Util/Time.h"

namespace CloudStorage::Util {

std::chrono::system_clock::time_point IsoTime::value() const {
  return parseIsoTime(text_).value_or(TimePoint());
}

std::string IsoTime::toString() const { return formatIsoTime(value()); }

}  // namespace CloudStorage::Util
