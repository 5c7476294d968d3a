#include "accounts.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "account_command.h"
#include "account_file.h"
#include "account_members.h"
#include "advice.h"
#include "command_failure.h"
#include "linked_account.h"
#include "open_library.h"
#include "output.h"
#include "services.h"

namespace tool {
namespace {

struct Arguments {
  std::string name;
  bool json = false;
};

Cell valueOf(const Account& account, const std::string& member) {
  const auto found = account.values.find(member);
  if (found == account.values.end()) return {};
  return found->second.empty() ? Cell() : Cell(found->second);
}

void listAccounts(const Arguments& arguments) {
  Listing listing{{"name", "service", "linked", "endpoint", "account"}, {}};
  for (const auto& [name, account] : readAccounts()) {
    listing.rows.push_back({name, account.service, account.linked,
                            valueOf(account, member::kEndpoint),
                            valueOf(account, member::kAccount)});
  }
  writeListing(arguments.json ? listing : withoutEmptyColumns(listing), arguments.json,
               "no accounts");
}

void logout(const Arguments& arguments) {
  const Accounts accounts = readAccounts();
  const auto found = accounts.find(arguments.name);
  if (found == accounts.end() || !removeAccount(arguments.name)) rejectAccount(arguments.name);
  const Service* service = findService(found->second.service);
  if (service == nullptr) {
    writeMessage("the account '" + arguments.name + "' is forgotten here");
    return;
  }
  writeMessage("the " + accountTitle({*service, arguments.name}) + " is forgotten here");
  if (!service->isDrive()) return;
  const OpenLibrary library;
  const std::string url = vemlo::Drive(service->id).logoutUrl();
  if (url.empty()) return;
  writeMessage("to sign out in the browser as well, open:");
  writeResult(url + "\n");
}

}  // namespace

void addAccountsCommands(CLI::App& app) {
  const auto ofLogout = std::make_shared<Arguments>();
  CLI::App& command = addAccountCommand(
      app, "logout", "Forget an account; prints the address to sign out at, if there is one");
  command.add_option("NAME", ofLogout->name, "The account's name")->required()->type_name("");
  command.callback([ofLogout] { logout(*ofLogout); });

  const auto ofList = std::make_shared<Arguments>();
  CLI::App& list = addAccountCommand(app, "accounts", "List the linked accounts");
  addJsonFlag(list, ofList->json);
  list.callback([ofList] { listAccounts(*ofList); });
}

}  // namespace tool
