#pragma once

namespace Faults {

/// A host whose name takes a second to look up, and then is unknown.
inline constexpr char kSlowHost[] = "slow.test";

/// The number of lookups of that host so far.
int slowLookups();

}  // namespace Faults
