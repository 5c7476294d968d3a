#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <ostream>
#include <set>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "libvemlo.h"
#include "support/outs.h"

namespace Behaviour {

using TestSupport::Folder;

/// The out-parameters of all operations; each operation uses its own.
class Outs {
 public:
  enum class State { Untouched, Cleared, Filled };

  State state() const {
    if (folder.isUntouched() && folders.isUntouched() && buckets.isUntouched()) {
      return State::Untouched;
    }
    const bool isCleared = folder.isCleared() || folders.isCleared() || buckets.isCleared();
    return isCleared ? State::Cleared : State::Filled;
  }

  TestSupport::FolderOut folder;
  TestSupport::FolderListOut folders;
  TestSupport::BucketListOut buckets;
};

inline std::ostream& operator<<(std::ostream& out, Outs::State state) {
  const char* const names[] = {"untouched", "cleared", "filled"};
  return out << names[static_cast<int>(state)];
}

/// One exported function, and what the tests need to know about it.
struct Operation {
  std::string name;
  std::function<int(session*, Outs&)> call;
  /// Calls it once with each of those pointers null that it checks.
  std::function<std::vector<int>(session*, Outs&)> callWithEachNull;
  /// Of the outs, also while a request is running.
  Outs::State afterFailure = Outs::State::Cleared;
  Outs::State withSessionOfAnotherService = Outs::State::Untouched;
  /// What precedes the text of the error in the log. Nothing if failures are not logged.
  std::optional<std::string> failureText;
  /// The same for the request that precedes the operation's own. Nothing if there is none.
  std::optional<std::string> preparationFailureText = std::nullopt;
};

template <typename Function, typename Arguments, std::size_t... kPositions>
std::vector<int> callWithEachNull(Function function, const Arguments& arguments,
                                  const std::set<std::size_t>& mustNotBeNull,
                                  std::index_sequence<kPositions...> /*positions*/) {
  std::vector<int> results;
  const auto callWithNullAt = [&](auto position) {
    auto changed = arguments;
    auto& argument = std::get<position>(changed);
    if constexpr (std::is_pointer_v<std::remove_reference_t<decltype(argument)>>) {
      if (mustNotBeNull.count(position) != 0) return;
      argument = nullptr;
      results.push_back(std::apply(function, changed));
    }
  };
  (callWithNullAt(std::integral_constant<std::size_t, kPositions>()), ...);
  return results;
}

/// Completes `operation` with calls of `function`. `argumentsFor` returns the arguments for a
/// session and outs as a tuple.
template <typename Function, typename ArgumentsFor>
Operation operationOf(Operation operation, Function function, ArgumentsFor argumentsFor,
                      const std::set<std::size_t>& mustNotBeNull = {}) {
  operation.call = [=](session* handle, Outs& outs) {
    return std::apply(function, argumentsFor(handle, outs));
  };
  operation.callWithEachNull = [=](session* handle, Outs& outs) {
    const auto arguments = argumentsFor(handle, outs);
    constexpr auto kSize = std::tuple_size_v<decltype(argumentsFor(handle, outs))>;
    return callWithEachNull(function, arguments, mustNotBeNull, std::make_index_sequence<kSize>());
  };
  return operation;
}

}  // namespace Behaviour
