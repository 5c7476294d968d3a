#pragma once

#include <string>
#include <string_view>
#include <type_traits>

#include "CloudStorage/Http/URI.h"
#include "CloudStorage/Util/Field.h"

/// Encoding of the optional parameters of requests.
namespace CloudStorage::Client {

/// Adds a query parameter if the field is present.
template <typename T>
void addIfPresent(Http::URI& uri, std::string_view name, const Util::Field<T>& field) {
  if (!field.isPresent()) return;
  if constexpr (std::is_integral_v<T>) {
    uri.addQueryStringParameter(name, std::to_string(field.value()));
  } else {
    uri.addQueryStringParameter(name, field.value());
  }
}

/// The same for parameters that a service treats as absent if they are empty.
inline void addUnlessEmpty(Http::URI& uri, std::string_view name,
                           const Util::Field<std::string>& field) {
  if (!field.value().empty()) addIfPresent(uri, name, field);
}

}  // namespace CloudStorage::Client
