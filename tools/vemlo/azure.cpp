#include "azure.h"

#include <libvemlo.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "command_failure.h"
#include "object_store.h"
#include "proxy.h"
#include "result_codes.h"
#include "secrets.h"
#include "session_guard.h"

namespace tool {
namespace {

struct AzureOptions {
  std::string account;
  std::string keyFile;
  std::string cloud;
  ProxyOptions proxy;

  std::string container;
};

session* openHandle(const AzureOptions& options, const std::string& key, const Proxy& proxy) {
  const proxy_setting setting = proxy.setting();
  session* handle = libvemlo_azure_ssb_init(options.cloud.c_str(), options.account.c_str(),
                                            key.c_str(), &setting);
  if (handle == nullptr) {
    throw CommandFailure(ExitCode::BadUsage, "the key is no base64 text; is it copied as a whole?");
  }
  return handle;
}

SessionGuard openSession(const AzureOptions& options) {
  if (options.account.empty()) {
    throw CommandFailure(
        ExitCode::BadUsage,
        "the storage account is missing: give --account or set VEMLO_AZURE_ACCOUNT");
  }
  const std::string key = readSecret(options.keyFile, "VEMLO_AZURE_KEY");
  if (key.empty()) {
    throw CommandFailure(ExitCode::BadUsage,
                         "the key is missing: give --key-file, or set VEMLO_AZURE_KEY or "
                         "VEMLO_AZURE_KEY_FILE");
  }
  const Proxy proxy = resolveProxy(options.proxy);
  return SessionGuard([&] { return openHandle(options, key, proxy); });
}

void createContainer(const AzureOptions& options) {
  requireBucketName(options.container, "container");
  const SessionGuard session = openSession(options);
  requireSuccess(azure_ssb_create_bucket(session.handle(), options.container.c_str()),
                 "create container '" + options.container + "'");
}

void addAccountOptions(CLI::App& command, AzureOptions& options) {
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
  addProxyOptions(command, options.proxy);
}

}  // namespace

void addAzureCommands(CLI::App& app) {
  CLI::App* azure = app.add_subcommand("azure", "Azure storage blobs");
  azure->require_subcommand(1);
  const auto options = std::make_shared<AzureOptions>();  // kept alive by the callbacks
  addAccountOptions(*azure, *options);

  ObjectStore store;
  store.bucketWord = "container";
  store.listDescription = "List the folders directly below a folder";
  store.open = [options] { return openSession(*options); };
  store.listBuckets = azure_ssb_list_bucket;
  store.listFolders = azure_ssb_list_directory;
  store.makeFolder = azure_ssb_create_directory;
  addObjectStoreCommands(*azure, store);

  CLI::App* create = azure->add_subcommand("create-container", "Make a container; prints nothing");
  create->add_option("NAME", options->container, "The container's name")->required()->type_name("");
  create->callback([options] { createContainer(*options); });
}

}  // namespace tool
