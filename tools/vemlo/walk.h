#pragma once

#include <CLI/App.hpp>
#include <functional>
#include <string>
#include <vector>

#include "storage.h"

namespace tool {

/// A folder that a walk has come to.
struct Step {
  const Folder& folder;
  /// For each level from the start down to the folder, whether it is the last one there.
  const std::vector<bool>& isLast;

  std::size_t depth() const { return isLast.size(); }
};

/// Visits all folders below one, each before those in it. A folder that cannot be listed is
/// reported to the user, and the walk goes on.
class Walk {
 public:
  using Visit = std::function<void(const Step&)>;

  /// @param depth  how many levels to visit; 0: all.
  Walk(Storage& storage, std::size_t depth, Visit visit);

  /// Visits the folders in `start`, which are `found`, and those below. Throws CommandFailure if
  /// the user interrupts.
  void run(const Folder& start, const Folders& found);

  /// Throws CommandFailure unless all folders were listed.
  void requireComplete() const;

 private:
  void visitAll(const Folders& found, const Folder& parent);
  void descend(const Folder& folder);
  void report(const std::string& message);

  Storage& storage_;
  std::size_t depth_;
  Visit visit_;
  std::vector<bool> isLast_;
  /// The ids of the folders that lead to the current one.
  std::vector<std::string> above_;
  bool isComplete_ = true;
};

/// Adds the option for the `depth` of a walk.
CLI::Option* addDepthOption(CLI::App& command, std::size_t& depth);

}  // namespace tool
