#pragma once

#include <functional>

namespace tool {

/// Returns what `call` returns. While a slow call runs, a spinner and the elapsed seconds are shown
/// on standard error; they are erased when the call returns. Nothing is shown if `isQuiet` is set,
/// if standard error is not a terminal that can overwrite a line, or if the verbose log is written
/// to it.
int withProgress(bool isQuiet, const std::function<int()>& call);

}  // namespace tool
