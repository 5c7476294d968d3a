#pragma once

#include <functional>

namespace vemlo {

/// What `call` returns. If it takes its time, a spinner and the seconds so far show on standard
/// error until it is back, and then nothing is left of them. Only on a terminal, and not on one
/// that fills with a verbose log.
int withProgress(const std::function<int()>& call);

}  // namespace vemlo
