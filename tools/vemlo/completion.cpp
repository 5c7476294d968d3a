#include "completion.h"

#include <syslog.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <memory>
#include <set>
#include <string_view>
#include <utility>

#include "account_command.h"
#include "command_failure.h"
#include "completion_scripts.h"
#include "location_completion.h"
#include "output.h"
#include "s3_flavours.h"
#include "services.h"
#include "typed_words.h"

namespace tool {
namespace {

using Candidates = std::vector<Candidate>;

/// Whoever has pressed the tab key waits for all calls together.
constexpr std::chrono::seconds kMostTime{3};
/// The end of everything else that could wait, such as for a lock or a file that is a pipe. Calls
/// have ended by then, and renewed tokens are stored.
constexpr unsigned kMostSeconds = 5;

constexpr std::array<std::pair<std::string_view, const char*>, 3> kScripts{
    {{"bash", kBashCompletion}, {"zsh", kZshCompletion}, {"fish", kFishCompletion}}};

constexpr const char* kFooter =
    "The packages install the scripts. Without them, load the script when the shell starts:\n"
    "\n"
    "  bash  eval \"$(vemlo completion bash)\" in ~/.bashrc\n"
    "  zsh   eval \"$(vemlo completion zsh)\" in ~/.zshrc, after compinit\n"
    "  fish  vemlo completion fish | source in ~/.config/fish/config.fish\n"
    "\n"
    "The folders of linked accounts are completed, too. They are listed when the tab key is "
    "pressed, which takes up to 3 seconds; nothing is offered if that fails. Names with control "
    "characters or marks that change the direction of the text are left out.\n"
    "\n";

/// The first clause.
std::string brief(const std::string& description) {
  return description.substr(0, std::min(description.find(';'), description.find(": ")));
}

Candidates commands(const CLI::App& app) {
  Candidates found;
  for (const CLI::App* command : app.get_subcommands({})) {
    if (command->get_group().empty()) continue;  // hidden
    found.push_back({command->get_name(), brief(command->get_description())});
  }
  return found;
}

Candidates options(const TypedWords& typed) {
  Candidates found;
  std::set<std::string> names;
  for (const CLI::App* app = typed.command(); app != nullptr; app = app->get_parent()) {
    for (const CLI::Option* option : app->get_options()) {
      if (option->get_lnames().empty() || typed.isGiven(option)) continue;
      const std::string name = "--" + option->get_lnames().front();
      // Each level has a --help.
      if (!names.insert(name).second) continue;
      found.push_back({name, brief(option->get_description())});
    }
  }
  return found;
}

Candidates serviceCandidates() {
  Candidates found;
  for (const Service& service : services()) found.push_back({service.name, service.title});
  return found;
}

Candidates shells() {
  Candidates found;
  for (const auto& [name, script] : kScripts) found.push_back({std::string(name), ""});
  return found;
}

Candidates regionsOf(const S3Flavour& flavour) {
  Candidates found;
  for (const vemlo::Location& location : vemlo::locationsOf(flavour.id)) {
    const std::string code = std::to_string(location.code);
    const std::string name(location.name);
    found.push_back(name.empty() ? Candidate{code, ""} : Candidate{name, code});
  }
  return found;
}

Candidates regionCandidates(const TypedWords& typed) {
  if (!isAccountCommand(*typed.command())) {
    return regionsOf(chooseFlavour(typed.valueOf("--flavour"), typed.valueOf("--endpoint")));
  }
  if (typed.positionals().empty()) return {};
  const Account account = linkedAccount(parseLocation(typed.positionals().front()).account);
  if (account.service != "s3") return {};
  return regionsOf(flavourOfEndpoint(account.values.at("endpoint")));
}

Candidates locations(const TypedWords& typed) {
  const std::string passwordFile = typed.valueOf("--proxy-password-file");
  if (passwordFile == "-") return {};  // nobody is asked
  OpenOptions options;
  options.startId = typed.valueOf("--id");
  options.proxy =
      resolveProxy({typed.valueOf("--proxy"), typed.valueOf("--proxy-user"), passwordFile});
  options.isQuiet = true;
  options.deadline = std::chrono::steady_clock::now() + kMostTime;
  return locationCandidates(typed.word(), options);
}

/// The values that the parser accepts, which CLI11 describes as in "{aws,china}".
Candidates membersOf(const CLI::Option& option) {
  const std::string type = option.get_type_name();
  const std::size_t open = type.find('{');
  if (open == std::string::npos) return {};
  Candidates found;
  const std::string list = type.substr(open + 1, type.rfind('}') - open - 1);
  for (const std::string& member : CLI::detail::split(list, ',')) found.push_back({member, ""});
  return found;
}

Candidates valuesOf(const CLI::Option& argument, const TypedWords& typed) {
  const std::string name = argument.get_name();
  if (name == "LOCATION") return locations(typed);
  if (name == "SERVICE") return serviceCandidates();
  if (name == "SHELL") return shells();
  if (name == "NAME" && isAccountCommand(*typed.command())) return accountCandidates("");
  if (name == "--region") return regionCandidates(typed);
  if (argument.get_type_name() == "FILE") return {{"", "file"}};
  return membersOf(argument);
}

Candidates candidatesFor(const TypedWords& typed) {
  if (typed.command() == nullptr) return {};
  if (typed.isOptionName()) return options(typed);
  if (const CLI::Option* argument = typed.argument()) return valuesOf(*argument, typed);
  return commands(*typed.command());
}

void complete(const CLI::App& app, const std::vector<std::string>& words) {
  std::signal(SIGALRM, [](int) { _exit(EXIT_SUCCESS); });
  ::alarm(kMostSeconds);
  // The user has not run a command that could fail.
  setlogmask(LOG_MASK(LOG_EMERG));
  std::string lines;
  try {
    const TypedWords typed(app, words);
    for (const auto& [word, description] : candidatesFor(typed)) {
      const bool isFile = word.empty();
      if (!isFile && word.compare(0, typed.word().size(), typed.word()) != 0) continue;
      lines += isFile ? word : typed.kept() + word;
      lines += description.empty() ? "\n" : "\t" + description + "\n";
    }
  } catch (const std::exception&) {
    return;  // there is nobody to tell
  }
  writeResult(lines);
}

void printScript(const std::string& shell) {
  for (const auto& [name, script] : kScripts) {
    if (name == shell) return writeResult(script);
  }
  throw CommandFailure(ExitCode::BadUsage, "there is no completion for a shell '" + shell +
                                               "'; there is for bash, zsh and fish");
}

}  // namespace

void addCompletionCommands(CLI::App& app) {
  const auto shell = std::make_shared<std::string>();
  CLI::App* completion =
      app.add_subcommand("completion", "Print a script that lets a shell complete the arguments");
  completion->footer(kFooter + completion->get_footer());
  completion->add_option("SHELL", *shell, "One of bash, zsh, fish")->required()->type_name("");
  completion->callback([shell] { printScript(*shell); });

  const auto words = std::make_shared<std::vector<std::string>>();
  CLI::App* hidden = app.add_subcommand("complete", "Print what the last word can become");
  hidden->group("");
  hidden->add_option("WORD", *words, "The words behind the program's name")
      ->required()
      ->type_name("");
  hidden->callback([&app, words] { complete(app, *words); });
}

}  // namespace tool
