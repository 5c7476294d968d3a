#pragma once

namespace libvemlo {

// What the exported functions return. The object stores return a failed call's error type instead
// of a code of ours; what only one service's functions return stands in its file.
inline constexpr int kSuccess = 0;
inline constexpr int kBadArguments = -1;
// A drive service refused, was not reached, or was not understood; the log says which.
inline constexpr int kServiceFailure = 1;

}  // namespace libvemlo
