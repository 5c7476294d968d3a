#include "walk.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <utility>

#include "command_failure.h"
#include "interrupt.h"
#include "output.h"

namespace tool {
namespace {

/// No service lets users nest folders deeper.
constexpr std::size_t kDeepest = 500;

}  // namespace

Walk::Walk(Storage& storage, std::size_t depth, Visit visit)
    : storage_(storage), depth_(depth), visit_(std::move(visit)) {}

void Walk::run(const Folder& start, const Folders& found) {
  above_.push_back(start.id);
  visitAll(found, start);
}

void Walk::visitAll(const Folders& found, const Folder& parent) {
  if (found.isCutShort) report(cutShort(storage_.describe(parent.path)).what());
  for (std::size_t i = 0; i < found.folders.size(); ++i) {
    isLast_.push_back(i + 1 == found.folders.size());
    visit_({found.folders[i], isLast_});
    if (isLast_.size() != depth_) descend(found.folders[i]);
    isLast_.pop_back();
  }
}

void Walk::descend(const Folder& folder) {
  const bool isLoop =
      !folder.id.empty() && std::find(above_.begin(), above_.end(), folder.id) != above_.end();
  if (isLoop) return report("the folder " + storage_.describe(folder.path) + " contains itself");
  if (isLast_.size() >= kDeepest) {
    return report("the folder " + storage_.describe(folder.path) + " is nested too deeply");
  }
  Folders found;
  try {
    found = storage_.foldersIn(folder);
  } catch (const CommandFailure& failure) {
    if (wasInterrupted()) throw;
    return report(failure.what());
  }
  above_.push_back(folder.id);
  visitAll(found, folder);
  above_.pop_back();
}

void Walk::requireComplete() const {
  if (!isComplete_) throw CommandFailure(ExitCode::ServiceFailed, "some folders are missing here");
}

void Walk::report(const std::string& message) {
  writeMessage(message);
  isComplete_ = false;
}

CLI::Option* addDepthOption(CLI::App& command, std::size_t& depth) {
  return command.add_option("--depth", depth, "How many levels to show; without it all")
      ->check(CLI::Range(1, static_cast<int>(kDeepest)).description(""))
      ->type_name("NUMBER");
}

}  // namespace tool
