#include <fcntl.h>
#include <libvemlo.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <clocale>
#include <csignal>
#include <string>
#include <vector>

#include "azure.h"
#include "drive_accounts.h"
#include "drive_folders.h"
#include "failure.h"
#include "output.h"
#include "s3.h"

namespace vemlo {
namespace {

constexpr const char* kFooter =
    "Options of `vemlo` and `vemlo SERVICE` may also stand behind the command;\n"
    "their --help lists them.\n"
    "\n"
    "Exit codes:\n"
    "  0  done\n"
    "  1  the service refused, was not reached, or was not understood\n"
    "  2  bad usage, such as an unknown option, a missing key, or an account that is not linked\n"
    "  3  trouble on this side: a secret cannot be read, or the output cannot be written\n";

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

/// The message for unexpected arguments. It names the first unknown option, if any, and never a
/// value, which may be a secret that would end up in a log.
std::string describeExtraArgument(const CLI::App& app) {
  const std::vector<std::string> arguments = app.remaining(true);
  const auto option =
      std::find_if(arguments.begin(), arguments.end(),
                   [](const std::string& argument) { return argument.rfind('-', 0) == 0; });
  if (option == arguments.end()) return "too many arguments";
  const bool isLong = option->rfind("--", 0) == 0;
  return "unknown option " + (isLong ? option->substr(0, option->find('=')) : option->substr(0, 2));
}

void run(int argc, const char* const* argv) {
  CLI::App app("Cloud storage accounts on the command line", "vemlo");
  app.require_subcommand(1);
  app.fallthrough();
  app.footer(kFooter);
  app.set_version_flag("--version", "vemlo " VEMLO_VERSION, "Print the version and exit");
  app.add_flag("-v,--verbose", ::verbose,
               "Log more to standard error; repeat, or --verbose=9 for all");
  addS3Commands(app);
  addAzureCommands(app);
  addDriveAccountCommands(app);
  addDriveFolderCommands(app);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp&) {
    writeResult(app.help());
  } catch (const CLI::CallForVersion& version) {
    writeResult(version.what() + std::string("\n"));
  } catch (const CLI::ExtrasError&) {
    throw Failure(ExitCode::BadUsage, describeExtraArgument(app));
  } catch (const CLI::ParseError& error) {
    throw Failure(ExitCode::BadUsage, error.what());
  }
}

}  // namespace
}  // namespace vemlo

int main(int argc, char** argv) {
  auto code = vemlo::ExitCode::Done;
  try {
    vemlo::prepareProcess();
    vemlo::run(argc, argv);
  } catch (const vemlo::Failure& failure) {
    vemlo::writeMessage(failure.what());
    code = failure.code();
  } catch (const std::exception& error) {
    vemlo::writeMessage(error.what());
    code = vemlo::ExitCode::LocalFailure;
  }
  return static_cast<int>(code);
}
