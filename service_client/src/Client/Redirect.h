#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "CloudStorage/Http/URI.h"

namespace CloudStorage::Client {

/// The target of a redirect from `current` to `location`, a URL or a reference relative to
/// `current`. Path and query are kept as received. An http target of an https request becomes
/// https. Returns nothing if the target is not a valid URL. The caller decides which hosts it
/// trusts.
std::optional<Http::URI> redirectTarget(const Http::URI& current, const std::string& location);

/// Whether `host` is below `domain`, which begins with a dot.
bool isBelow(std::string_view host, std::string_view domain);

}  // namespace CloudStorage::Client
