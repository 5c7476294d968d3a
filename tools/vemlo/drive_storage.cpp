#include "drive_storage.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "command_failure.h"
#include "location.h"
#include "suggestion.h"
#include "text.h"

namespace tool {
namespace {

[[noreturn]] void rejectName(const std::string& name, const std::string& parent,
                             const std::vector<Folder>& folders) {
  std::vector<std::string> names;
  names.reserve(folders.size());
  for (const Folder& folder : folders) names.push_back(folder.name);
  const std::string meant = closest(name, names);
  throw CommandFailure(ExitCode::ServiceFailed,
                       "there is no folder '" + name + "' in " + parent +
                           (meant.empty() ? "" : "; did you mean '" + meant + "'?"));
}

[[noreturn]] void rejectTwins(const std::vector<Folder>& twins, const std::string& parent) {
  std::string ids;
  for (const Folder& folder : twins) ids += (ids.empty() ? "" : ", ") + folder.id;
  throw CommandFailure(ExitCode::ServiceFailed, "there are " + std::to_string(twins.size()) +
                                                    " folders '" + twins.front().name + "' in " +
                                                    parent +
                                                    "; begin at one of them with --id: " + ids);
}

std::vector<Folder> foldersNamed(const std::string& name, const std::vector<Folder>& folders) {
  std::vector<Folder> found;
  std::copy_if(folders.begin(), folders.end(), std::back_inserter(found),
               [&name](const Folder& folder) { return folder.name == name; });
  return found;
}

void requireNoRegion(const std::string& region) {
  if (region.empty()) return;
  throw CommandFailure(ExitCode::BadUsage, "--region is for buckets alone");
}

}  // namespace

DriveStorage::DriveStorage(OpenLibrary& library, const Calls& calls, const Account& account,
                           const vemlo::Proxy& proxy, std::string startId)
    : calls_(calls),
      startId_(std::move(startId)),
      tokens_(library, calls.caller.account, account),
      drive_(calls.caller.service.id, proxy) {
  drive_.setTokens(tokens_.tokens());
}

template <typename Function>
auto DriveStorage::request(const std::string& action, Function function) {
  return calls_.make(action, function, [this] {
    if (!tokens_.takeNewer()) return false;
    drive_.setTokens(tokens_.tokens());
    return true;
  });
}

Folder DriveStorage::start() {
  if (!startId_.empty()) return {"", startId_, ""};
  const vemlo::Folder root = request("find the root folder",
                                     [this](const vemlo::Call& call) { return drive_.root(call); });
  return {"", root.id, ""};
}

Folder DriveStorage::find(const std::string& path) {
  Folder folder = start();
  for (const std::string& name : namesIn(path)) folder = child(folder, name);
  return folder;
}

Folder DriveStorage::child(const Folder& parent, const std::string& name) {
  const std::vector<Folder> folders = foldersIn(parent).folders;
  const std::vector<Folder> found = foldersNamed(name, folders);
  if (found.empty()) rejectName(name, describe(parent.path), folders);
  if (found.size() > 1) rejectTwins(found, describe(parent.path));
  return found.front();
}

Folders DriveStorage::foldersIn(const Folder& parent) {
  const vemlo::Folders listed =
      request("list the folders in " + describe(parent.path),
              [&](const vemlo::Call& call) { return drive_.folders(parent.id, call); });
  Folders found;
  found.isCutShort = listed.isCutShort();
  for (const vemlo::FolderEntry entry : listed) {
    const std::string name(entry.name());
    found.folders.push_back({name, std::string(entry.id()), joined(parent.path, name)});
  }
  return found;
}

Folder DriveStorage::make(const std::string& path, const std::string& region) {
  requireNoRegion(region);
  std::vector<std::string> names = namesIn(path);
  const std::string name = names.back();
  names.pop_back();
  Folder parent = start();
  for (const std::string& above : names) parent = child(parent, above);
  // The service would refuse to make a folder twice, with a message for programmers, or make a
  // second folder of the same name, which cannot be told apart by its path.
  for (const Folder& folder : foldersIn(parent).folders) {
    if (!isSameName(folder.name, name)) continue;
    throw CommandFailure(ExitCode::ServiceFailed,
                         "there is a folder '" + folder.name + "' in " + describe(parent.path) +
                             " already; nothing was changed. Use it, or choose another name");
  }
  return makeIn(parent, name);
}

Folder DriveStorage::makeAll(const std::string& path, const std::string& region) {
  requireNoRegion(region);
  Folder folder = start();
  bool isNew = false;
  for (const std::string& name : namesIn(path)) {
    // A new folder has no folders yet.
    const std::vector<Folder> folders = isNew ? std::vector<Folder>() : foldersIn(folder).folders;
    const std::vector<Folder> twins = foldersNamed(name, folders);
    if (twins.size() > 1) rejectTwins(twins, describe(folder.path));
    const auto found = std::find_if(folders.begin(), folders.end(), [&](const Folder& candidate) {
      return isSameName(candidate.name, name);
    });
    isNew = found == folders.end();
    const Folder next = isNew ? makeUnlessThere(folder, name) : *found;
    folder = next;
  }
  return folder;
}

Folder DriveStorage::makeIn(const Folder& parent, const std::string& name) {
  const vemlo::Folder made = request(actionOfMaking(parent, name), [&](const vemlo::Call& call) {
    return drive_.createFolder(parent.id, name, call);
  });
  return {made.name, made.id, joined(parent.path, made.name)};
}

/// Makes a folder that was not there, or finds the one that another process has made meanwhile.
Folder DriveStorage::makeUnlessThere(const Folder& parent, const std::string& name) {
  const std::string action = actionOfMaking(parent, name);
  std::optional<vemlo::Failure> refusal;
  const vemlo::Folder made = request(action, [&](const vemlo::Call& call) -> vemlo::Folder {
    try {
      return drive_.createFolder(parent.id, name, call);
    } catch (const vemlo::Failure& failure) {
      if (failure.kind() != vemlo::Kind::ExistsAlready) throw;
      refusal = failure;
      return {};
    }
  });
  if (!refusal) return {made.name, made.id, joined(parent.path, made.name)};
  for (const Folder& folder : foldersIn(parent).folders) {
    if (isSameName(folder.name, name)) return folder;
  }
  throw explain(action, *refusal, calls_.caller);
}

std::string DriveStorage::actionOfMaking(const Folder& parent, const std::string& name) const {
  return "make folder " + describe(joined(parent.path, name));
}

bool DriveStorage::isSameName(const std::string& left, const std::string& right) const {
  return left == right ||
         (calls_.caller.service.ignoresCase && upperCase(left) == upperCase(right));
}

std::string DriveStorage::describe(const std::string& path) const {
  const std::string described = "'" + calls_.caller.account + ":/" + path + "'";
  return startId_.empty() ? described : described + " from the folder '" + startId_ + "' on";
}

std::string DriveStorage::wordForFoldersIn(const Folder& /*parent*/) const { return "folders"; }

}  // namespace tool
