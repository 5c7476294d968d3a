#include "CloudStorage/Util/IsoTime.h"

#include "Util/Time.h"

namespace CloudStorage::Util {

IsoTime::Value IsoTime::value() const { return parseUtcTime(text_).value_or(Value()); }

std::string IsoTime::toString() const { return formatIsoTime(value()); }

}  // namespace CloudStorage::Util
