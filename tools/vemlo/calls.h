#pragma once

#include <chrono>
#include <functional>
#include <libvemlo.hpp>
#include <optional>
#include <string>
#include <utility>

#include "advice.h"
#include "interrupt.h"
#include "progress.h"

namespace tool {

/// How a command calls the library: with a display of progress, and until the user interrupts it.
struct Calls {
  Caller caller;
  bool isQuiet = false;
  /// When calls end at the latest.
  std::optional<std::chrono::steady_clock::time_point> deadline{};

  /// Returns what `function` returns for a vemlo::Call. Throws vemlo::Failure.
  template <typename Function>
  auto attempt(Function function) const {
    vemlo::Call call;
    call.cancellation = &interruption();
    call.deadline = deadline;
    const WatchedCall watched(call, isQuiet);
    return function(std::as_const(call));
  }

  /// Likewise, but throws a failure as CommandFailure. `action` is what is attempted. If the
  /// service asks to link the account again, and `takeNewerTokens` returns true, calls `function`
  /// once more.
  template <typename Function>
  auto make(const std::string& action, Function function,
            const std::function<bool()>& takeNewerTokens = nullptr) const {
    try {
      return attempt(function);
    } catch (const vemlo::Failure& failure) {
      const bool isOver = failure.kind() == vemlo::Kind::LinkAgain && takeNewerTokens != nullptr;
      if (!isOver || !takeNewerTokens()) throw explain(action, failure, caller);
    }
    return make(action, function);
  }
};

}  // namespace tool
