#include "Client/Redirect.h"

namespace CloudStorage::Client {
namespace {

// RFC 3986, section 4.2: a reference with a colon in its first segment is not relative.
bool isAbsolute(const std::string& location) {
  const auto colon = location.find(':');
  return colon != std::string::npos && location.find_first_of("/?") > colon;
}

std::optional<Http::URI> resolve(const Http::URI& current, const std::string& location) {
  if (location.empty()) return std::nullopt;
  if (isAbsolute(location)) return Http::URI::parse(location);
  if (location.compare(0, 2, "//") == 0) return Http::URI::parse(current.scheme() + ':' + location);
  if (location.compare(0, 1, "/") == 0) {
    return Http::URI::parse(current.scheme() + "://" + current.authority() + location);
  }
  const std::string path = current.path().empty() ? "/" : current.path();
  const std::string start = current.scheme() + "://" + current.authority() + path;
  if (location.compare(0, 1, "?") == 0) return Http::URI::parse(start + location);
  return Http::URI::parse(start.substr(0, start.rfind('/') + 1) + location);
}

}  // namespace

std::optional<Http::URI> redirectTarget(const Http::URI& current, const std::string& location) {
  auto target = resolve(current, location);
  if (target && current.scheme() == "https") target->setScheme("https");
  return target;
}

bool isBelow(std::string_view host, std::string_view domain) {
  return host.size() > domain.size() && host.substr(host.size() - domain.size()) == domain;
}

}  // namespace CloudStorage::Client
