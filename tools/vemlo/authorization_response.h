#pragma once

#include <string>
#include <string_view>

namespace tool {

/// The authorization code in a text that the user has pasted: the code alone, as the redirect page
/// displays it or as it stands, percent-encoded, in the address of that page; or the full address.
///
/// Throws CommandFailure if there is no code. The message contains the error that the address
/// names, if any, and never a code.
std::string authorizationCode(std::string_view pasted);

}  // namespace tool
