#include "list.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <memory>
#include <string>

#include "account_command.h"
#include "output.h"
#include "storage.h"
#include "text.h"
#include "walk.h"

namespace tool {
namespace {

struct Arguments {
  LocationArguments at;
  bool isRecursive = false;
  std::size_t depth = 0;
  bool showsIds = false;
  bool json = false;
};

/// A folder as the user can name it in another command.
std::string locationOf(const Folder& folder, const std::string& account) {
  // The name between two slashes is empty.
  const bool endsEmpty = !folder.path.empty() && folder.path.back() == '/';
  return account + ":/" + folder.path + (endsEmpty ? "/" : "");
}

void listAll(const Arguments& arguments) {
  const OpenLocation location(arguments.at, arguments.json);
  Listing all{{"path", "depth"}, {}};
  if (arguments.showsIds) all.columns.emplace_back("id");
  Walk walk(location.storage(), arguments.depth, [&](const Step& step) {
    const std::string path = locationOf(step.folder, location.account());
    const std::string& id = step.folder.id;
    if (arguments.json) {
      auto& row = all.rows.emplace_back();
      row = {path, static_cast<std::int64_t>(step.depth())};
      if (arguments.showsIds) row.push_back(id.empty() ? Cell() : Cell(id));
      return;
    }
    writeResult(printable(path) + (arguments.showsIds ? "\t" + printable(id) : "") + "\n");
  });
  const Folder start = location.storage().find(location.path());
  walk.run(start, location.storage().foldersIn(start));
  if (arguments.json) writeListing(all, true);
  walk.requireComplete();
}

void list(const Arguments& arguments) {
  const OpenLocation location(arguments.at, arguments.json);
  Storage& storage = location.storage();
  const Folder folder = storage.find(location.path());
  const Folders found = storage.foldersIn(folder);
  const Listing listing = listingOf(found.folders, arguments.showsIds);
  if (!found.isCutShort) {
    writeListing(listing, arguments.json, "no " + storage.wordForFoldersIn(folder));
    return;
  }
  writeListing(listing, arguments.json);
  throw cutShort(storage.describe(folder.path));
}

}  // namespace

void addListCommand(CLI::App& app) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App& command =
      addAccountCommand(app, "ls", "List the folders, buckets or containers in a folder");
  addLocationArguments(command, arguments->at,
                       "The folder to look into, as NAME:/PATH, such as google-drive:/Photos/2019 "
                       "or work:/bucket/photos; `vemlo accounts` lists the names");
  CLI::Option* recursive = command.add_flag(
      "-R,--recursive", arguments->isRecursive,
      "List all folders below as well, one path per line, with the id behind a tab");
  addDepthOption(command, arguments->depth)->needs(recursive);
  command.add_flag("--ids", arguments->showsIds, "Print ids as well");
  addJsonFlag(command, arguments->json);
  command.callback([arguments] {
    if (arguments->isRecursive) {
      listAll(*arguments);
    } else {
      list(*arguments);
    }
  });
}

}  // namespace tool
