#include "Http/ResponseHeaders.h"

#include <string>

#include "Util/Text.h"

namespace CloudStorage::Http {

bool ResponseHeaders::add(std::string_view line) {
  bytes_ += line.size();
  if (bytes_ > limits_.bytes) return false;
  if (line.substr(0, 5) == "HTTP/") {
    values_.clear();
    areComplete_ = false;
    return true;
  }
  if (line.empty() || line.front() == '\r' || line.front() == '\n') {
    areComplete_ = true;
    return true;
  }
  if (++lines_ > limits_.lines) return false;
  if (!areComplete_) addHeader(line);  // otherwise it is a trailer, which no operation uses
  return true;
}

void ResponseHeaders::addHeader(std::string_view line) {
  const auto colon = line.find(':');
  if (colon == std::string_view::npos) return;

  const std::string name = Util::lowerCase(Util::trimmed(line.substr(0, colon)));
  if (name.empty()) return;
  const std::string_view value = Util::trimmed(line.substr(colon + 1));
  const auto [entry, isNew] = values_.emplace(name, value);
  if (isNew) return;
  if (name == "location") {
    entry->second = value;
  } else {
    entry->second.append(", ").append(value);
  }
}

}  // namespace CloudStorage::Http
