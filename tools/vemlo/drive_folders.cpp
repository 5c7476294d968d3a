#include "drive_folders.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "command_failure.h"
#include "drive_command.h"
#include "drive_session.h"
#include "drives.h"
#include "output.h"
#include "proxy.h"
#include "suggestion.h"
#include "text.h"

namespace tool {
namespace {

struct Arguments {
  std::string location;
  std::string startId;
  bool showsIds = false;
  bool json = false;
  ProxyOptions proxy;
};

/// A parsed LOCATION argument, SERVICE:/NAME/NAME. The path starts at the root folder, or at the
/// folder `startId` if that is not empty.
struct Location {
  const Drive& drive;
  std::string startId;
  std::vector<std::string> names;
};

Location parseLocation(const Arguments& arguments) {
  const std::string& text = arguments.location;
  const std::size_t colon = std::min(text.find(':'), text.size());
  Location location{driveNamed(text.substr(0, colon)), arguments.startId, {}};
  std::size_t begin = std::min(colon + 1, text.size());
  while (begin < text.size()) {
    const std::size_t end = std::min(text.find('/', begin), text.size());
    if (end > begin) location.names.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return location;
}

/// The name, for messages, of the folder that the first `depth` names lead to.
std::string describe(const Location& location, std::size_t depth) {
  std::string path = depth == 0 ? "/" : "";
  for (std::size_t i = 0; i < depth; ++i) path += "/" + location.names[i];
  const std::string described = "'" + location.drive.name + ":" + path + "'";
  return location.startId.empty() ? described
                                  : described + " from the folder '" + location.startId + "' on";
}

std::vector<Folder> foldersNamed(const std::string& name, std::vector<Folder> folders) {
  folders.erase(std::remove_if(folders.begin(), folders.end(),
                               [&name](const Folder& folder) { return folder.name != name; }),
                folders.end());
  return folders;
}

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

Folder requireSingle(const std::vector<Folder>& folders, const std::string& name,
                     const std::string& parent) {
  const std::vector<Folder> found = foldersNamed(name, folders);
  if (found.empty()) rejectName(name, parent, folders);
  if (found.size() > 1) {
    std::string ids;
    for (const Folder& folder : found) ids += (ids.empty() ? "" : ", ") + folder.id;
    throw CommandFailure(ExitCode::ServiceFailed, "there are " + std::to_string(found.size()) +
                                                      " folders '" + name + "' in " + parent +
                                                      "; begin at one of them with --id: " + ids);
  }
  return found.front();
}

/// The service would refuse to make a folder twice, with a message for programmers, or make a
/// second folder of the same name, which cannot be distinguished by its path.
void requireNewName(const Drive& drive, const std::string& name, const std::string& parent,
                    const std::vector<Folder>& folders) {
  for (const Folder& folder : folders) {
    const bool isSame =
        folder.name == name || (drive.ignoresCase && upperCase(folder.name) == upperCase(name));
    if (!isSame) continue;
    throw CommandFailure(ExitCode::ServiceFailed,
                         "there is a folder '" + folder.name + "' in " + parent +
                             " already; nothing was changed. Use it, or choose another name");
  }
}

/// Looks up the folder that the first `depth` names lead to, with one listing per level.
Folder resolve(const DriveSession& session, const Location& location, std::size_t depth) {
  Folder folder = location.startId.empty() ? session.root() : Folder{"", location.startId};
  for (std::size_t i = 0; i < depth; ++i) {
    const std::string parent = describe(location, i);
    const std::string& name = location.names[i];
    folder = requireSingle(session.foldersIn(folder, parent), name, parent);
  }
  return folder;
}

DriveSession openSession(const Drive& drive, const Arguments& arguments) {
  const Account account = linkedAccount(drive);
  return {drive, account, resolveProxy(arguments.proxy), arguments.json};
}

Listing listingOf(const std::vector<Folder>& folders, bool showsIds) {
  Listing listing{{"name"}, {}};
  if (showsIds) listing.columns.emplace_back("id");
  for (const Folder& folder : folders) {
    auto& row = listing.rows.emplace_back();
    row.emplace_back(folder.name);
    if (showsIds) row.emplace_back(folder.id);
  }
  return listing;
}

void listFolders(const Arguments& arguments) {
  const Location location = parseLocation(arguments);
  const DriveSession session = openSession(location.drive, arguments);
  const std::size_t depth = location.names.size();
  const Folder folder = resolve(session, location, depth);
  const std::vector<Folder> folders = session.foldersIn(folder, describe(location, depth));
  writeListing(listingOf(folders, arguments.showsIds), arguments.json, "no folders");
}

void makeFolder(const Arguments& arguments) {
  const Location location = parseLocation(arguments);
  if (location.names.empty()) {
    throw CommandFailure(ExitCode::BadUsage, "the new folder's name is missing, as in " +
                                                 location.drive.name + ":/NAME");
  }
  const DriveSession session = openSession(location.drive, arguments);
  const std::size_t depth = location.names.size() - 1;
  const std::string& name = location.names.back();
  const Folder parent = resolve(session, location, depth);
  const std::string where = describe(location, depth);

  requireNewName(location.drive, name, where, session.foldersIn(parent, where));
  const Folder made = session.makeFolder(parent, name, describe(location, depth + 1));
  if (arguments.json || arguments.showsIds) {
    writeListing(listingOf({made}, arguments.showsIds), arguments.json);
  }
}

void addCommand(CLI::App& app, const std::string& name, const std::string& description,
                const std::string& ofLocation, void (*run)(const Arguments&)) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App& command = addDriveCommand(app, name, description);
  command.add_option("LOCATION", arguments->location, ofLocation)->required()->type_name("");
  command
      .add_option("--id", arguments->startId,
                  "The id of the folder that the path begins at, instead of the root")
      ->type_name("ID");
  command.add_flag("--ids", arguments->showsIds, "Print ids as well");
  addJsonFlag(command, arguments->json);
  addProxyOptions(command, arguments->proxy);
  command.callback([arguments, run] { run(*arguments); });
}

}  // namespace

void addDriveFolderCommands(CLI::App& app) {
  addCommand(app, "ls", "List the folders directly below a folder",
             "The folder to look into, as SERVICE:/PATH, such as google-drive:/Photos/2019; "
             "SERVICE is one of " +
                 listOfDrives(),
             listFolders);
  addCommand(app, "mkdir", "Make a folder; prints nothing unless asked for its id or JSON",
             "The new folder, as SERVICE:/PATH, such as google-drive:/Photos/2020, in a folder "
             "that is there; SERVICE is one of " +
                 listOfDrives(),
             makeFolder);
}

}  // namespace tool
