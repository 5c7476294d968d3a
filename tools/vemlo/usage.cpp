#include "usage.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <vector>

#include "command_failure.h"
#include "services.h"
#include "suggestion.h"

namespace tool {
namespace {

using Apps = std::vector<const CLI::App*>;

bool isOption(const std::string& word) { return word.size() > 1 && word.front() == '-'; }

/// The option without its value.
std::string optionName(const std::string& word) {
  return word.rfind("--", 0) == 0 ? word.substr(0, word.find('=')) : word.substr(0, 2);
}

/// The command as the user calls it, such as "vemlo s3 ls".
std::string commandLine(const CLI::App& app) {
  const CLI::App* parent = app.get_parent();
  return parent == nullptr ? app.get_name() : commandLine(*parent) + " " + app.get_name();
}

std::string helpCommand(const CLI::App& app) { return "`" + commandLine(app) + " --help`"; }

const CLI::App* commandNamed(const CLI::App& app, const std::string& name) {
  const Apps commands = app.get_subcommands({});
  const auto found =
      std::find_if(commands.begin(), commands.end(),
                   [&name](const CLI::App* command) { return command->get_name() == name; });
  return found == commands.end() ? nullptr : *found;
}

bool isLocation(const std::string& word) {
  return word.find(":/") != std::string::npos ||
         findService(word.substr(0, word.find(':'))) != nullptr;
}

/// The command with this name at any other place; null if there is none.
const CLI::App* commandElsewhere(const CLI::App& app, const std::string& name) {
  if (app.get_parent() != nullptr) return commandElsewhere(*app.get_parent(), name);
  if (const CLI::App* command = commandNamed(app, name); command != nullptr) return command;
  for (const CLI::App* service : app.get_subcommands({})) {
    const CLI::App* command = commandNamed(*service, name);
    if (command != nullptr) return command;
  }
  return nullptr;
}

bool isHidden(const CLI::App& command) { return command.get_group().empty(); }

/// What to do in place of the unknown command `word` of `app`.
std::string adviceFor(const std::string& word, const CLI::App& app) {
  if (isLocation(word)) {
    return "an account is named behind the command, as in `vemlo ls dropbox:/`";
  }
  const CLI::App* elsewhere = commandElsewhere(app, word);
  if (elsewhere != nullptr) return "did you mean `" + commandLine(*elsewhere) + "`?";
  std::vector<std::string> known{"--help", "--version"};
  for (const CLI::App* command : app.get_subcommands({})) {
    if (!isHidden(*command)) known.push_back(command->get_name());
  }
  const std::string meant = closest(word, known);
  return meant.empty() ? helpCommand(app) + " lists the commands" : "did you mean '" + meant + "'?";
}

[[noreturn]] void rejectCommand(const std::string& word, const CLI::App& app) {
  // A long word is no command but perhaps a secret.
  constexpr std::size_t kLongest = 24;
  const std::string named = word.size() > kLongest ? "" : " '" + word + "'";
  const std::string owner = app.get_parent() == nullptr ? "" : " of '" + app.get_name() + "'";
  throw CommandFailure(ExitCode::BadUsage,
                       "unknown command" + named + owner + "; " + adviceFor(word, app));
}

/// The options of a command, including those of the service and of the program.
std::vector<std::string> optionNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const CLI::App* app = &command; app != nullptr; app = app->get_parent()) {
    for (const CLI::Option* option : app->get_options()) {
      for (const std::string& name : option->get_lnames()) names.push_back("--" + name);
    }
  }
  return names;
}

/// The innermost of the commands that were given.
const CLI::App& commandIn(const CLI::App& app) {
  const CLI::App* command = &app;
  while (!command->get_subcommands().empty()) command = command->get_subcommands().front();
  return *command;
}

std::string describeUnknownOption(const std::string& word, const CLI::App& command) {
  const std::string name = optionName(word);
  const std::string unknown = "unknown option " + name + "; ";
  const std::string meant = name.rfind("--", 0) == 0 ? closest(name, optionNames(command)) : "";
  if (meant == name) return "option " + name + " must stand behind the command that it belongs to";
  if (meant.empty()) return unknown + "see " + helpCommand(command);
  return unknown + "did you mean " + meant + "?";
}

}  // namespace

void requireKnownCommands(const CLI::App& app, int argc, const char* const* argv) {
  const CLI::App* level = &app;
  for (int i = 1; i < argc && !level->get_subcommands({}).empty(); ++i) {
    const std::string word = argv[i];
    if (!isOption(word)) {
      const CLI::App* command = commandNamed(*level, word);
      if (command == nullptr) rejectCommand(word, *level);
      level = command;
      continue;
    }
    const CLI::Option* option = level->get_option_no_throw(optionName(word));
    if (option == nullptr) option = app.get_option_no_throw(optionName(word));
    // The parser reports an unknown option, and handles those in whose presence no command matters.
    if (option == nullptr || option == level->get_help_ptr() || option == app.get_help_ptr())
      return;
    const bool hasValueBehind =
        option->get_items_expected_min() > 0 && word.find('=') == std::string::npos;
    if (hasValueBehind) ++i;
  }
}

std::string describe(const CLI::ParseError& error, const CLI::App& app) {
  const CLI::App& command = commandIn(app);
  const std::vector<std::string> rest = app.remaining(true);
  const auto option = std::find_if(rest.begin(), rest.end(), isOption);
  if (option != rest.end()) return describeUnknownOption(*option, command);
  if (!command.get_subcommands({}).empty()) {
    return "a command is missing; " + helpCommand(command) + " lists them";
  }
  const bool isExtra = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
  return std::string(isExtra ? "too many arguments" : error.what()) + "; see " +
         helpCommand(command);
}

}  // namespace tool
