#include <fcntl.h>
#include <libvemlo.h>

#include <CLI/CLI.hpp>
#include <clocale>
#include <csignal>
#include <memory>
#include <string>

#include "azure.h"
#include "command_failure.h"
#include "drive_accounts.h"
#include "drive_folders.h"
#include "help_formatter.h"
#include "output.h"
#include "s3.h"
#include "terminal.h"
#include "usage.h"

namespace tool {
namespace {

constexpr const char* kFooter =
    "Options of `vemlo` and `vemlo SERVICE` may also stand behind the command; their --help lists "
    "them.\n"
    "\n"
    "Exit codes:\n"
    "  0  done\n"
    "  1  the service refused, was not reached, or was not understood\n"
    "  2  bad usage, such as an unknown option, a missing key, or an account that is not linked\n"
    "  3  trouble on this side: a secret cannot be read, or the output cannot be written\n"
    "When the reader of the output has closed its pipe, as `head` does, vemlo ends silently by "
    "SIGPIPE, which a shell reports as 141.\n";

/// The only level at which the library logs more than failures.
constexpr int kAllSteps = 9;

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
}

void run(int argc, const char* const* argv) {
  CLI::App app("Cloud storage accounts on the command line", "vemlo");
  app.formatter(std::make_shared<HelpFormatter>(columns()));
  app.require_subcommand(1);
  app.fallthrough();
  app.footer(kFooter);
  app.set_version_flag("--version", "vemlo " VEMLO_VERSION, "Print the version and exit");
  app.add_flag(
      "-v,--verbose", ::verbose,
      "Also log to standard error how `ls` and `mkdir` look for folders on Google Drive, "
      "OneDrive and Amazon Drive: ids, counts, and the metadata of the root folder, but no "
      "key, token or code. All other commands log the same with and without it");
  app.parse_complete_callback([] {
    if (::verbose > 0) ::verbose = kAllSteps;
  });
  addS3Commands(app);
  addAzureCommands(app);
  addDriveAccountCommands(app);
  addDriveFolderCommands(app);

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
  try {
    tool::prepareProcess();
    tool::run(argc, argv);
  } catch (const tool::CommandFailure& failure) {
    tool::writeMessage(failure.what());
    code = failure.code();
  } catch (const std::exception& error) {
    tool::writeMessage(error.what());
    code = tool::ExitCode::LocalFailure;
  }
  return static_cast<int>(code);
}
