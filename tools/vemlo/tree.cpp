#include "tree.h"

#include <CLI/CLI.hpp>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "account_command.h"
#include "output.h"
#include "storage.h"
#include "terminal.h"
#include "text.h"
#include "walk.h"

namespace tool {
namespace {

struct Arguments {
  LocationArguments at;
  std::size_t depth = 0;
  bool showsIds = false;
  bool isAscii = false;
};

/// What is drawn before a name.
struct Lines {
  const char* branch;
  const char* lastBranch;
  const char* passing;
  const char* space;
};

constexpr Lines kUtf8Lines{u8"\u251c\u2500\u2500 ", u8"\u2514\u2500\u2500 ", u8"\u2502   ", "    "};
constexpr Lines kAsciiLines{"|-- ", "`-- ", "|   ", "    "};

std::string lineOf(const Folder& folder, bool showsIds) {
  return printable(folder.name) +
         (showsIds && !folder.id.empty() ? "  [" + printable(folder.id) + "]" : "") + "\n";
}

std::string branches(const std::vector<bool>& isLast, const Lines& lines) {
  std::string text;
  for (std::size_t level = 0; level + 1 < isLast.size(); ++level) {
    text += isLast[level] ? lines.space : lines.passing;
  }
  return text + (isLast.back() ? lines.lastBranch : lines.branch);
}

void showTree(const Arguments& arguments) {
  const OpenLocation location(arguments.at, false);
  Storage& storage = location.storage();
  const Folder start = storage.find(location.path());
  const Folders found = storage.foldersIn(start);
  const Lines& lines = arguments.isAscii || !showsUtf8() ? kAsciiLines : kUtf8Lines;

  std::size_t count = 0;
  Walk walk(storage, arguments.depth, [&](const Step& step) {
    ++count;
    writeResult(branches(step.isLast, lines) + lineOf(step.folder, arguments.showsIds));
  });
  writeResult(printable(arguments.at.location) + "\n");
  walk.run(start, found);
  writeMessage(std::to_string(count) + (count == 1 ? " folder" : " folders"));
  walk.requireComplete();
}

}  // namespace

void addTreeCommand(CLI::App& app) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App& command = addAccountCommand(app, "tree", "Draw the folders below a folder");
  addLocationArguments(command, arguments->at, "The folder at the top, as NAME:/PATH");
  addDepthOption(command, arguments->depth);
  command.add_flag("--ids", arguments->showsIds, "Print ids as well");
  command.add_flag("--ascii", arguments->isAscii,
                   "Draw with ASCII letters, as is done where the locale is not one of UTF-8");
  command.callback([arguments] { showTree(*arguments); });
}

}  // namespace tool
