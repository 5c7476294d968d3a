#include "drive_accounts.h"

#include <CLI/CLI.hpp>
#include <iostream>
#include <memory>
#include <string>

#include "account_file.h"
#include "authorization_response.h"
#include "browser.h"
#include "command_failure.h"
#include "drive_command.h"
#include "drive_session.h"
#include "drives.h"
#include "output.h"
#include "proxy.h"

namespace tool {
namespace {

constexpr const char* kLoginFooter =
    "Prints the address of the page on which to allow access, and opens it in a browser where "
    "there is a desktop. Then reads a line of standard input: the address that the browser was "
    "sent to in the end, or the code alone. An account that was linked before is replaced once "
    "that has worked.\n"
    "\n"
    "If the service does not accept the code, the error line in the log shows it, and on Google "
    "Drive and Amazon Drive the tokens if some were received.\n"
    "\n"
    "Accounts are kept in $XDG_CONFIG_HOME/vemlo/accounts.json, or in ~/.config without that "
    "variable. The tokens in it are enciphered with a key that everybody has who has the library, "
    "which hides them from a glance but does not protect them: who can read the file has access "
    "to the drive.\n"
    "\n";

struct Arguments {
  std::string service;
  bool noBrowser = false;
  bool json = false;
  ProxyOptions proxy;
};

std::string readPastedLine() {
  std::string line;
  std::getline(std::cin, line);
  return line;
}

void login(const Arguments& arguments) {
  const Drive& drive = driveNamed(arguments.service);
  // Report a damaged file before the user goes through the consent.
  readAccounts();
  const DriveSession session(drive, resolveProxy(arguments.proxy), false);

  const std::string url = session.authorizeUrl();
  writeMessage("allow access to " + drive.title + " on this page:");
  writeResult(url + "\n");
  if (!arguments.noBrowser) openBrowser(url);
  writeMessage(
      "then paste the address of the page that the browser ends at, or the code which that page "
      "shows:");
  const Account account = session.link(authorizationCode(readPastedLine()));

  const bool isReplaced = storeAccount(drive.name, account);
  writeMessage("the " + drive.title + " account is linked" +
               (isReplaced ? ", in place of the one linked before" : "") +
               (drive.lifetime.empty() ? "" : "; " + drive.lifetime));
}

void logout(const Arguments& arguments) {
  const Drive& drive = driveNamed(arguments.service);
  if (!removeAccount(drive.name)) {
    throw CommandFailure(ExitCode::BadUsage, "no " + drive.title + " account is linked");
  }
  writeMessage("the " + drive.title + " account is forgotten here");
  const std::string url = DriveSession(drive, {}, false).logoutUrl();
  if (url.empty()) return;
  writeMessage("to sign out in the browser as well, open:");
  writeResult(url + "\n");
}

void whoAmI(const Arguments& arguments) {
  const Drive& drive = driveNamed(arguments.service);
  if (drive.logAccountHolder == nullptr) {
    throw CommandFailure(ExitCode::BadUsage, "the library cannot ask " + drive.title +
                                                 " whose account it is; `vemlo ls " + drive.name +
                                                 ":/` shows whether it is still linked");
  }
  const Account account = linkedAccount(drive);
  const DriveSession session(drive, account, resolveProxy(arguments.proxy), false);
  session.logAccountHolder();
  writeMessage("the " + drive.title +
               " account works; the library names its holder in its log above, in lines that are "
               "no errors");
}

void listAccounts(const Arguments& arguments) {
  Listing accounts{{"service", "linked"}, {}};
  for (const auto& [service, account] : readAccounts()) {
    accounts.rows.push_back({service, account.linked});
  }
  writeListing(accounts, arguments.json, "no accounts");
}

void addServiceArgument(CLI::App& command, Arguments& arguments) {
  command.add_option("SERVICE", arguments.service, "One of " + listOfDrives())
      ->required()
      ->type_name("");
}

void addLogin(CLI::App& app) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App& command =
      addDriveCommand(app, "login", "Link an account; prints the address to allow access at");
  command.footer(kLoginFooter + command.get_footer());
  addServiceArgument(command, *arguments);
  command.add_flag("--no-browser", arguments->noBrowser, "Only print the address, open no browser");
  addProxyOptions(command, arguments->proxy);
  command.callback([arguments] { login(*arguments); });
}

void addLogout(CLI::App& app) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App& command = addDriveCommand(
      app, "logout", "Forget an account; prints the address to sign out at, if there is one");
  addServiceArgument(command, *arguments);
  command.callback([arguments] { logout(*arguments); });
}

void addWhoAmI(CLI::App& app) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App& command =
      addDriveCommand(app, "whoami",
                      "Check an account and let the library log whose it is, which it "
                      "can on Amazon Drive");
  addServiceArgument(command, *arguments);
  addProxyOptions(command, arguments->proxy);
  command.callback([arguments] { whoAmI(*arguments); });
}

void addAccounts(CLI::App& app) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App& command = addDriveCommand(app, "accounts", "List the linked accounts");
  addJsonFlag(command, arguments->json);
  command.callback([arguments] { listAccounts(*arguments); });
}

}  // namespace

void addDriveAccountCommands(CLI::App& app) {
  addLogin(app);
  addLogout(app);
  addWhoAmI(app);
  addAccounts(app);
}

}  // namespace tool
