#include <fcntl.h>

#include <CLI/CLI.hpp>
#include <clocale>
#include <csignal>
#include <memory>
#include <string>

#include "accounts.h"
#include "azure.h"
#include "command_failure.h"
#include "completion.h"
#include "help_formatter.h"
#include "interrupt.h"
#include "list.h"
#include "login.h"
#include "make_folder.h"
#include "open_library.h"
#include "output.h"
#include "progress.h"
#include "s3.h"
#include "terminal.h"
#include "tree.h"
#include "usage.h"
#include "whoami.h"

namespace tool {
namespace {

constexpr const char* kFooter =
    "Options of `vemlo`, `vemlo s3` and `vemlo azure` may also stand behind the command; their "
    "--help lists them.\n"
    "\n"
    "Exit codes:\n"
    "  0  done\n"
    "  1  the service refused, was not reached, was not understood, or did not list everything\n"
    "  2  bad usage, such as an unknown option, a missing key, or an account that is not linked\n"
    "  3  trouble on this side: a secret cannot be read, or the output cannot be written\n"
    "When the reader of the output has closed its pipe, as `head` does, vemlo ends silently by "
    "SIGPIPE, which a shell reports as 141. When the user interrupts it, it ends by SIGINT, which "
    "a "
    "shell reports as 130.\n";

void prepareProcess() {
  // A connection must not get the descriptor of a standard stream that the caller has closed, or
  // output would be written to it. The stream is opened for the opposite direction, so that using
  // it still fails.
  for (const int stream : {0, 1, 2}) {
    if (fcntl(stream, F_GETFD) < 0) open("/dev/null", stream == 0 ? O_WRONLY : O_RDONLY);
  }
  // A message that nobody reads does not end the process, and its exit code tells the result.
  std::signal(SIGPIPE, SIG_IGN);
  // Tables are UTF-8 in every locale; `displayWidth` depends on this setting.
  std::setlocale(LC_CTYPE, "C.UTF-8");
  handleSignals();
}

void run(int argc, const char* const* argv) {
  CLI::App app("Cloud storage accounts on the command line", "vemlo");
  app.formatter(std::make_shared<HelpFormatter>(columns()));
  app.require_subcommand(1);
  app.fallthrough();
  app.footer(kFooter);
  app.set_version_flag("--version", "vemlo " VEMLO_VERSION, "Print the version and exit");
  // A number, as in --verbose=1, is accepted for compatibility.
  const auto verbosity = std::make_shared<int>(0);
  app.add_flag("-v,--verbose", *verbosity,
               "Also show the library's log on standard error: failures as they happen, and how "
               "folders of Google Drive, OneDrive and Amazon Drive are found, but no key and no "
               "token");
  app.parse_complete_callback([verbosity] { setVerbose(*verbosity > 0); });
  addS3Commands(app);
  addAzureCommands(app);
  addLoginCommand(app);
  addWhoAmICommand(app);
  addAccountsCommands(app);
  addListCommand(app);
  addTreeCommand(app);
  addMakeFolderCommand(app);
  addCompletionCommands(app);

  requireKnownCommands(app, argc, argv);
  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    writeResult(app.help());
  } catch (const CLI::CallForVersion& version) {
    writeResult(version.what() + std::string("\n"));
  } catch (const CLI::ParseError& error) {
    throw CommandFailure(ExitCode::BadUsage, describe(error, app));
  }
}

}  // namespace
}  // namespace tool

int main(int argc, char** argv) {
  auto code = tool::ExitCode::Done;
  std::string message;
  try {
    tool::prepareProcess();
    tool::run(argc, argv);
  } catch (const tool::CommandFailure& failure) {
    message = failure.what();
    code = failure.code();
  } catch (const std::exception& error) {
    message = error.what();
    code = tool::ExitCode::LocalFailure;
  }
  tool::endProgress();
  if (code != tool::ExitCode::Done && tool::wasInterrupted()) {
    // Whatever the command failed with, it is because of that.
    tool::writeMessage("cancelled");
    tool::endByInterrupt();
  }
  if (code != tool::ExitCode::Done) tool::writeMessage(message);
  return static_cast<int>(code);
}
