#pragma once

#include <string>
#include <string_view>

namespace CloudStorage::Recording {

/// `text` in which `mask` replaces e-mail addresses, also percent-encoded ones and those with
/// escapes of JSON, HTML or XML, once or twice. What looks like one but has no dot in its domain
/// stays, as do OData's annotations.
std::string maskEmailAddresses(std::string_view text, std::string_view mask);

}  // namespace CloudStorage::Recording
