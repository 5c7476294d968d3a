#pragma once

#include <string>
#include <string_view>

namespace vemlo {

/// The authorization code in a text that the user has pasted: either the code alone, as the
/// redirect page displays it, or the full address of that page, in which it is percent-encoded.
///
/// Throws Failure if there is no code. The message contains the error that the address names, if
/// any, and never a code.
std::string authorizationCode(std::string_view pasted);

}  // namespace vemlo
