#include "login.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "account_command.h"
#include "account_file.h"
#include "account_members.h"
#include "authorization_response.h"
#include "azure_account.h"
#include "browser.h"
#include "calls.h"
#include "command_failure.h"
#include "input_line.h"
#include "location.h"
#include "open_library.h"
#include "output.h"
#include "proxy.h"
#include "s3_account.h"
#include "secrets.h"
#include "services.h"
#include "stored_tokens.h"
#include "text.h"

namespace tool {
namespace {

constexpr const char* kFooter =
    "For a drive, prints the address of the page on which to allow access, and opens it in a "
    "browser where there is a desktop. Then reads a line of standard input: the address that the "
    "browser was sent to in the end, or the code alone.\n"
    "\n"
    "For S3 and Azure, takes the keys from the options, and what is not given from the environment "
    "as `vemlo s3` and `vemlo azure` do. Without an endpoint, or without the name of a storage "
    "account, an account of the same service that is replaced lends what is not given, but not its "
    "secret. Asks for a secret that is missing at a terminal. Lists the buckets or containers to "
    "check the keys.\n"
    "\n"
    "An account of the same name that was linked before is replaced once that has worked. If a "
    "service does not accept a code, the error line in the log shows it, and on Google "
    "Drive and Amazon Drive the tokens if some were received.\n"
    "\n"
    "Accounts are kept in $XDG_CONFIG_HOME/vemlo/accounts.json, or in ~/.config without that "
    "variable. The tokens and keys in it are enciphered with a key that everybody has who has the "
    "library, which hides them from a glance but does not protect them: who can read the file has "
    "access to the accounts.\n"
    "\n";

struct Arguments {
  std::string service;
  std::string name;
  bool noBrowser = false;
  bool noCheck = false;
  S3Options s3;
  AzureOptions azure;
  ProxyOptions proxy;
  /// The options that only some services have: "drives", "stores", or the one of this name.
  std::vector<std::pair<std::string, const CLI::Option*>> ofService;
};

/// Whether a service is in a group of `Arguments::ofService`.
bool isIn(const std::string& group, const Service& service) {
  if (group == "drives") return service.isDrive();
  if (group == "stores") return !service.isDrive();
  return group == service.name;
}

void requireOptionsOf(const Service& service, const Arguments& arguments) {
  for (const auto& [group, option] : arguments.ofService) {
    if (option->count() == 0 || isIn(group, service)) continue;
    throw CommandFailure(ExitCode::BadUsage,
                         option->get_name() + " is no option for " + service.title);
  }
}

/// Without an option, the environment determines the value, as for `vemlo s3` and `vemlo azure`.
void completeFromEnvironment(std::string& value, const char* variable) {
  if (value.empty()) value = environment(variable);
}

/// The account that is replaced, if it is of the same service.
std::optional<Account> accountBefore(const Caller& caller) {
  const Accounts accounts = readAccounts();
  const auto found = accounts.find(caller.account);
  if (found == accounts.end() || found->second.service != caller.service.name) return std::nullopt;
  return found->second;
}

/// Takes each value that is not given, with its name in the file, from the account that is
/// replaced. The first one says which store or account it is: if it is given, nothing is taken.
void completeFromAccount(const Caller& caller,
                         const std::vector<std::pair<std::string*, const char*>>& values) {
  const auto& [first, name] = values.front();
  const std::optional<Account> before = accountBefore(caller);
  if (!before || !first->empty()) return;
  for (const auto& [value, member] : values) {
    if (value->empty()) *value = before->values.at(member);
  }
  if (first->empty()) return;
  writeMessage(std::string("the ") + name + " '" + *first +
               "' of the account linked before is kept");
}

/// Throws CommandFailure if a value of the user cannot be stored.
void requireText(const Account& account) {
  for (const auto& [member, value] : account.values) {
    if (isUtf8(value)) continue;
    throw CommandFailure(ExitCode::BadUsage,
                         "what is given for '" + member + "' is no text in UTF-8");
  }
}

Account linkDrive(const Calls& calls, const Arguments& arguments) {
  const Service& service = calls.caller.service;
  vemlo::Drive drive(service.id, resolveProxy(arguments.proxy));
  const std::string url = drive.authorizeUrl();
  writeMessage("allow access to " + service.title + " on this page:");
  writeResult(url + "\n");
  if (!arguments.noBrowser) openBrowser(url);
  writeMessage(
      "then paste the address of the page that the browser ends at, or the code which that page "
      "shows:");
  const std::string code = authorizationCode(readLine(STDIN_FILENO, "standard input"));
  const vemlo::Tokens tokens = calls.make(
      "link the account", [&](const vemlo::Call& call) { return drive.link(code, call); });
  return accountWith(tokens, service.name);
}

/// Checks the keys of an object store.
void check(const ObjectStore& store, const Calls& calls) {
  const std::string action = "link the account";
  const Service& service = calls.caller.service;
  try {
    calls.attempt([&](const vemlo::Call& call) { return store.buckets(call); });
  } catch (const vemlo::Failure& failure) {
    if (failure.kind() != vemlo::Kind::Denied) throw explain(action, failure, {service, ""});
    throw CommandFailure(ExitCode::ServiceFailed,
                         "cannot " + action + ": it may not list its " + service.bucketWord +
                             "s, or the keys are wrong; if they are right, link it with "
                             "--no-check");
  }
}

Account linkS3(const Calls& calls, const Arguments& arguments) {
  S3Options options = arguments.s3;
  completeFromEnvironment(options.endpoint, "VEMLO_S3_ENDPOINT");
  completeFromEnvironment(options.signingRegion, "VEMLO_S3_REGION");
  completeFromEnvironment(options.accessKey, "VEMLO_S3_ACCESS_KEY");
  completeFromAccount(calls.caller, {{&options.endpoint, member::kEndpoint},
                                     {&options.signingRegion, member::kSigningRegion},
                                     {&options.accessKey, member::kAccessKey}});
  const vemlo::S3Account account = resolve(options, true);
  Account stored = toStored(account);
  requireText(stored);
  const auto store = openS3(account, resolveProxy(arguments.proxy));
  if (!arguments.noCheck) check(*store, calls);
  return stored;
}

Account linkAzure(const Calls& calls, const Arguments& arguments) {
  AzureOptions options = arguments.azure;
  completeFromEnvironment(options.account, "VEMLO_AZURE_ACCOUNT");
  completeFromEnvironment(options.cloud, "VEMLO_AZURE_REGION");
  completeFromAccount(calls.caller,
                      {{&options.account, member::kAccount}, {&options.cloud, member::kCloud}});
  const vemlo::AzureAccount account = resolve(options, true);
  Account stored = toStored(account);
  requireText(stored);
  const auto store = openAzure(account, resolveProxy(arguments.proxy));
  if (!arguments.noCheck) check(*store, calls);
  return stored;
}

void login(const Arguments& arguments) {
  const Service& service = serviceNamed(arguments.service);
  const std::string name = arguments.name.empty() ? service.name : arguments.name;
  requireAccountName(name);
  requireOptionsOf(service, arguments);
  // Report a damaged file before the user goes through the consent.
  readAccounts();

  const OpenLibrary library;
  const Calls calls{{service, name}};
  const Account account = service.isDrive()                  ? linkDrive(calls, arguments)
                          : service.id == vemlo::Service::S3 ? linkS3(calls, arguments)
                                                             : linkAzure(calls, arguments);
  const bool isReplaced = storeAccount(name, account);
  writeMessage("the " + accountTitle(calls.caller) + " is linked" +
               (isReplaced ? ", in place of the one linked before" : ""));
}

void addStoreOptions(CLI::App& command, Arguments& arguments) {
  const auto add = [&](const char* service, const char* option, std::string& value,
                       const char* type, const char* description) {
    CLI::Option* added = command.add_option(option, value, description)->type_name(type);
    arguments.ofService.emplace_back(service, added);
  };
  add("s3", "--endpoint", arguments.s3.endpoint, "ADDRESS",
      "S3: the service, as [http[s]://]HOST[:PORT][/BASE]; without it AWS");
  add("s3", "--signing-region", arguments.s3.signingRegion, "ID",
      "S3: the region identifier that requests are signed for, such as eu-central-1");
  add("s3", "--access-key", arguments.s3.accessKey, "ID", "S3: the access key id");
  add("s3", "--secret-key-file", arguments.s3.secretKeyFile, "FILE",
      "S3: the file with the secret key in its first line; '-' reads a line of standard input");
  add("azure", "--account", arguments.azure.account, "NAME", "Azure: the storage account's name");
  add("azure", "--key-file", arguments.azure.keyFile, "FILE",
      "Azure: the file with one of the account's keys in its first line; '-' reads a line of "
      "standard input");
  add("azure", "--cloud", arguments.azure.cloud, "NAME",
      "Azure: the account's region or cloud, such as westeurope, china or usgovvirginia");
}

}  // namespace

void addLoginCommand(CLI::App& app) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App& command = addAccountCommand(
      app, "login", "Link an account, so that other commands can use it by its name");
  command.footer(kFooter + command.get_footer());
  command.add_option("SERVICE", arguments->service, "One of " + listOfServices())
      ->required()
      ->type_name("");
  command
      .add_option("--as", arguments->name,
                  "The name to give to the account; without it that of the service")
      ->check(rejectEmpty)
      ->type_name("NAME");
  arguments->ofService.emplace_back(
      "drives", command.add_flag("--no-browser", arguments->noBrowser,
                                 "Drives: only print the address, open no browser"));
  addStoreOptions(command, *arguments);
  arguments->ofService.emplace_back(
      "stores", command.add_flag("--no-check", arguments->noCheck,
                                 "S3 and Azure: do not check the keys by listing the buckets"));
  addProxyOptions(command, arguments->proxy, ", after the key's, before the code's");
  command.callback([arguments] { login(*arguments); });
}

}  // namespace tool
