#pragma once

namespace libvemlo {

// What the exported functions return. The object stores return a failed call's error type instead
// of a code of ours.
inline constexpr int kSuccess = 0;
inline constexpr int kBadArguments = -1;

}  // namespace libvemlo
