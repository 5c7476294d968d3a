#include "s3.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "command_failure.h"
#include "object_store_commands.h"
#include "open_library.h"
#include "output.h"
#include "proxy.h"
#include "s3_account.h"
#include "s3_flavours.h"

namespace tool {
namespace {

struct Arguments {
  S3Options account;
  ProxyOptions proxy;
  std::string flavour;
  std::string bucket;
  std::string region;
  bool json = false;
};

ObjectStorage openStorage(const Arguments& arguments, bool isQuiet) {
  const vemlo::S3Account account = resolve(arguments.account);
  const vemlo::Proxy proxy = resolveProxy(arguments.proxy);
  return {openS3(account, proxy, arguments.flavour), {{serviceNamed("s3"), ""}, isQuiet}};
}

void createBucket(const Arguments& arguments) {
  requireBucketName(arguments.bucket, "bucket");
  const std::string& endpoint = arguments.account.endpoint;
  const S3Flavour& flavour = chooseFlavour(arguments.flavour, endpoint);
  if (endpoint.empty() && &flavour != &flavourOfEndpoint(endpoint)) {
    throw CommandFailure(ExitCode::BadUsage,
                         "the flavour '" + flavour.name + "' needs an endpoint: give --endpoint");
  }
  locationCode(flavour, arguments.region);  // before anything is asked for

  const OpenLibrary library;
  openStorage(arguments, false).makeBucket(arguments.bucket, arguments.region);
}

void listRegions(const Arguments& arguments) {
  const S3Flavour& flavour = chooseFlavour(arguments.flavour, arguments.account.endpoint);
  Listing listing{{"code", "name"}, {}};
  for (const vemlo::Location& location : vemlo::locationsOf(flavour.id)) {
    const Cell name = location.name.empty() ? Cell() : Cell(std::string(location.name));
    listing.rows.push_back({location.code, name});
  }
  writeListing(listing, arguments.json);
}

void addAccountOptions(CLI::App& command, Arguments& arguments) {
  S3Options& options = arguments.account;
  command
      .add_option("--endpoint", options.endpoint,
                  "The service, as [http[s]://]HOST[:PORT][/BASE]; without it AWS")
      ->envname("VEMLO_S3_ENDPOINT")
      ->type_name("ADDRESS");
  command
      .add_option("--signing-region", options.signingRegion,
                  "Region identifier that requests are signed for, such as eu-central-1; without "
                  "it the one that the endpoint names, else us-east-1")
      ->envname("VEMLO_S3_REGION")
      ->type_name("ID");
  command.add_option("--access-key", options.accessKey, "Access key id")
      ->envname("VEMLO_S3_ACCESS_KEY")
      ->type_name("ID");
  command
      .add_option("--secret-key-file", options.secretKeyFile,
                  "File with the secret key in its first line; '-' reads a line of standard input "
                  "(Env:VEMLO_S3_SECRET_KEY, the key itself, or VEMLO_S3_SECRET_KEY_FILE)")
      ->type_name("FILE");
  addProxyOptions(command, arguments.proxy, ", after the key's");
}

void addFlavourOption(CLI::App& command, Arguments& arguments) {
  std::vector<std::string> names;
  for (const S3Flavour& flavour : s3Flavours()) names.push_back(flavour.name);
  command
      .add_option("--flavour", arguments.flavour,
                  "Whose regions there are; without it what the endpoint's host tells")
      ->check(CLI::IsMember(names));
}

}  // namespace

void addS3Commands(CLI::App& app) {
  CLI::App* s3 = app.add_subcommand("s3", "S3 and compatible stores, with keys given by options");
  s3->require_subcommand(1);
  const auto arguments = std::make_shared<Arguments>();  // kept alive by the callbacks
  addAccountOptions(*s3, *arguments);
  addObjectStoreCommands(*s3, serviceNamed("s3"),
                         [arguments](bool isQuiet) { return openStorage(*arguments, isQuiet); });

  CLI::App* create = s3->add_subcommand("create-bucket", "Make a bucket; prints nothing");
  create->add_option("NAME", arguments->bucket, "The bucket's name")->required()->type_name("");
  create
      ->add_option("--region", arguments->region,
                   "Where to make it: a name or code that `vemlo s3 regions` lists; without it the "
                   "first of them")
      ->type_name("NAME");
  addFlavourOption(*create, *arguments);
  create->callback([arguments] { createBucket(*arguments); });

  CLI::App* regions = s3->add_subcommand("regions", "List where buckets can be made");
  addFlavourOption(*regions, *arguments);
  addJsonFlag(*regions, arguments->json);
  regions->callback([arguments] { listRegions(*arguments); });
}

}  // namespace tool
