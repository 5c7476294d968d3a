#pragma once

#include <string>
#include <string_view>

namespace vemlo {

/// The authorization code that the user has pasted: alone, as the redirect page shows it, or within
/// that page's whole address, where it is percent-encoded.
///
/// Throws Failure, in which no code stands, if there is none, and says why where the address does.
std::string authorizationCode(std::string_view pasted);

}  // namespace vemlo
