#include "account_command.h"

#include <CLI/CLI.hpp>

#include "services.h"

namespace tool {
namespace {

constexpr const char* kGroup = "Linked accounts";

}  // namespace

CLI::App& addAccountCommand(CLI::App& app, const std::string& name,
                            const std::string& description) {
  return *app.add_subcommand(name, description)->group(kGroup);
}

bool isAccountCommand(const CLI::App& command) { return command.get_group() == kGroup; }

std::string rejectEmpty(const std::string& value) {
  return value.empty() ? "the value is empty" : "";
}

void addLocationArguments(CLI::App& command, LocationArguments& arguments,
                          const std::string& description) {
  command.add_option("LOCATION", arguments.location, description)->required()->type_name("");
  command
      .add_option("--id", arguments.startId,
                  "The id of the folder that the path begins at, instead of the root")
      ->check(rejectEmpty)
      ->type_name("ID");
  addProxyOptions(command, arguments.proxy);
}

OpenLocation::OpenLocation(const LocationArguments& arguments, bool isQuiet)
    : location_(parseLocation(arguments.location)) {
  const vemlo::Proxy proxy = resolveProxy(arguments.proxy);
  // After all that waits for the user: another process may renew the tokens in the meantime.
  const Account account = linkedAccount(location_.account);
  storage_ = openStorage(library_, location_.account, account, {arguments.startId, proxy, isQuiet});
}

}  // namespace tool
