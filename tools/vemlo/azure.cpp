#include "azure.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "azure_account.h"
#include "object_store_commands.h"
#include "open_library.h"
#include "proxy.h"

namespace tool {
namespace {

struct Arguments {
  AzureOptions account;
  ProxyOptions proxy;
  std::string container;
};

ObjectStorage openStorage(const Arguments& arguments, bool isQuiet) {
  const vemlo::AzureAccount account = resolve(arguments.account);
  const vemlo::Proxy proxy = resolveProxy(arguments.proxy);
  return {openAzure(account, proxy), {{serviceNamed("azure"), ""}, isQuiet}};
}

void createContainer(const Arguments& arguments) {
  requireBucketName(arguments.container, "container");
  const OpenLibrary library;
  openStorage(arguments, false).makeBucket(arguments.container, "");
}

void addAccountOptions(CLI::App& command, Arguments& arguments) {
  AzureOptions& options = arguments.account;
  command.add_option("--account", options.account, "The storage account's name")
      ->envname("VEMLO_AZURE_ACCOUNT")
      ->type_name("NAME");
  command
      .add_option("--key-file", options.keyFile,
                  "File with one of the account's keys, as the portal shows it, in its first line; "
                  "'-' reads a line of standard input (Env:VEMLO_AZURE_KEY, the key itself, or "
                  "VEMLO_AZURE_KEY_FILE)")
      ->type_name("FILE");
  command
      .add_option("--cloud", options.cloud,
                  "The account's region or cloud, such as westeurope, china or usgovvirginia; "
                  "without it, and if unknown, the global cloud")
      ->envname("VEMLO_AZURE_REGION")
      ->type_name("NAME");
  addProxyOptions(command, arguments.proxy, ", after the key's");
}

}  // namespace

void addAzureCommands(CLI::App& app) {
  CLI::App* azure = app.add_subcommand("azure", "Azure storage blobs, with a key given by options");
  azure->require_subcommand(1);
  const auto arguments = std::make_shared<Arguments>();  // kept alive by the callbacks
  addAccountOptions(*azure, *arguments);
  addObjectStoreCommands(*azure, serviceNamed("azure"),
                         [arguments](bool isQuiet) { return openStorage(*arguments, isQuiet); });

  CLI::App* create = azure->add_subcommand("create-container", "Make a container; prints nothing");
  create->add_option("NAME", arguments->container, "The container's name")
      ->required()
      ->type_name("");
  create->callback([arguments] { createContainer(*arguments); });
}

}  // namespace tool
