#pragma once

namespace libvemlo {

// Result codes of the exported functions. For a failed call the object stores return the error's
// type instead. A code that only one service uses is defined in that service's file.
inline constexpr int kSuccess = 0;
inline constexpr int kBadArguments = -1;
// A drive service was not reached, refused the request or sent an invalid response. The log states
// the cause.
inline constexpr int kServiceFailure = 1;

}  // namespace libvemlo
