#pragma once

#include <functional>

namespace benchmarks {

/// Runs in a child process what `prepare` returns. Returns by how many KiB the child's resident
/// memory grew at its peak over what it was before, with `prepare` done. Forks, so no other thread
/// may run yet. Throws std::runtime_error if the work fails.
long peakAboveIdle(const std::function<std::function<void()>()>& prepare);

}  // namespace benchmarks
