#pragma once

#include <cstddef>
#include <cstdlib>
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

namespace Behaviour {

/// What a record of a folder holds. An id that is null counts as empty.
struct Folder {
  std::string name;
  std::string id;

  bool operator==(const Folder& other) const { return name == other.name && id == other.id; }
};

inline void PrintTo(const Folder& folder, std::ostream* out) {
  *out << '"' << folder.name << "\" (" << folder.id << ')';
}

/// The out-parameters of any operation, which hold what none of them writes until one does. What
/// they then hold is released with them.
class Outs {
 public:
  enum class State { Untouched, Cleared, Filled };

  Outs() = default;
  ~Outs() { release(); }
  Outs(const Outs&) = delete;
  Outs& operator=(const Outs&) = delete;

  State state() const {
    const bool noPointer =
        folder == unwrittenFolder() && folders == unwrittenFolder() && buckets == unwrittenBucket();
    if (noPointer && count == kUnwritten) return State::Untouched;
    const bool noList = (folders == nullptr || buckets == nullptr) && count == 0;
    return folder == nullptr || noList ? State::Cleared : State::Filled;
  }

  /// Of a listing of folders that succeeded.
  std::vector<Folder> listed() const {
    std::vector<Folder> all;
    for (int i = 0; i < count; ++i) all.push_back(contentOf(folders[i]));
    return all;
  }
  /// Of an operation on a single folder that succeeded.
  Folder single() const { return contentOf(*folder); }

  directory* folder = unwrittenFolder();
  directory* folders = unwrittenFolder();
  char** buckets = unwrittenBucket();
  int count = kUnwritten;

 private:
  static constexpr int kUnwritten = 4711;

  static directory* unwrittenFolder() {
    static directory folder{};
    return &folder;
  }
  static char** unwrittenBucket() {
    static char* bucket = nullptr;
    return &bucket;
  }

  static Folder contentOf(const directory& record) {
    return {record.name, record.id == nullptr ? "" : record.id};
  }

  void release() {
    if (folder != unwrittenFolder()) free_directory(folder);
    if (buckets != unwrittenBucket()) free_buckets(buckets, count);
    if (folders == unwrittenFolder()) return;
    if (count == 0) return std::free(folders);  // the release function leaves it alone
    free_diretories(folders, count);
  }
};

inline std::ostream& operator<<(std::ostream& out, Outs::State state) {
  const char* const names[] = {"untouched", "cleared", "filled"};
  return out << names[static_cast<int>(state)];
}

/// One exported function, and what a test of it has to know.
struct Operation {
  std::string name;
  std::function<int(session*, Outs&)> call;
  /// Calls it once with each of its pointers null that may be.
  std::function<std::vector<int>(session*, Outs&)> callWithEachNull;
  Outs::State afterFailure = Outs::State::Cleared;
  Outs::State withSessionOfAnotherService = Outs::State::Untouched;
  /// What stands before the text of the error in the log; nothing if failures are not logged.
  std::optional<std::string> failureText;
  /// The same for the request that has to come before that of the operation itself; nothing if
  /// there is none.
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

/// Fills in how to call `function` with what `argumentsFor` a session and outs gives as a tuple.
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
