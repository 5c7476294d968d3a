#pragma once

#include <string>
#include <string_view>

#include "CloudStorage/Http/Transport.h"
#include "Http/PercentEncoding.h"
#include "Util/Json.h"

// Helpers of the services' protocols.
namespace Behaviour {

/// The decoded value of a parameter; empty if it is absent.
inline std::string parameterOf(const CloudStorage::Http::URI& uri, std::string_view name) {
  for (const auto& [key, value] : uri.query()) {
    if (CloudStorage::Http::uriDecode(key) == name) return CloudStorage::Http::uriDecode(value);
  }
  return {};
}

/// A text member of a JSON body.
inline std::string memberOf(const CloudStorage::Http::Request& request, std::string_view name) {
  return CloudStorage::Util::Json::texts(request.body, {name}).front();
}

inline bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

inline bool startsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

/// The texts that `one` returns for the folders, joined with `separator`.
template <typename Folders, typename Write>
std::string joined(const Folders& folders, std::string_view separator, Write one) {
  std::string text;
  for (const auto& folder : folders) {
    if (!text.empty()) text += separator;
    text += one(folder);
  }
  return text;
}

}  // namespace Behaviour
