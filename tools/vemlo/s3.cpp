#include "s3.h"

#include <libvemlo.h>

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "command_failure.h"
#include "object_store.h"
#include "output.h"
#include "proxy.h"
#include "result_codes.h"
#include "s3_flavours.h"
#include "secrets.h"
#include "session_guard.h"

namespace tool {
namespace {

struct S3Options {
  std::string endpoint;
  std::string signingRegion;
  std::string accessKey;
  std::string secretKeyFile;
  ProxyOptions proxy;

  std::string flavour;
  std::string bucket;
  std::string region;
  bool json = false;
};

SessionGuard openSession(const S3Options& options) {
  if (options.accessKey.empty()) {
    throw CommandFailure(ExitCode::BadUsage,
                         "the access key is missing: give --access-key or set VEMLO_S3_ACCESS_KEY");
  }
  const std::string secretKey = readSecret(options.secretKeyFile, "VEMLO_S3_SECRET_KEY");
  if (secretKey.empty()) {
    throw CommandFailure(
        ExitCode::BadUsage,
        "the secret key is missing: give --secret-key-file, or set VEMLO_S3_SECRET_KEY "
        "or VEMLO_S3_SECRET_KEY_FILE");
  }
  const Proxy proxy = resolveProxy(options.proxy);

  return SessionGuard([&] {
    const proxy_setting setting = proxy.setting();
    return libvemlo_s3_init(options.endpoint.c_str(), options.signingRegion.c_str(),
                            options.accessKey.c_str(), secretKey.c_str(), &setting);
  });
}

void createBucket(const S3Options& options) {
  requireBucketName(options.bucket, "bucket");
  const S3Flavour& flavour = chooseFlavour(options.flavour, options.endpoint);
  if (options.endpoint.empty() && &flavour != &flavourOfEndpoint(options.endpoint)) {
    throw CommandFailure(ExitCode::BadUsage,
                         "the flavour '" + flavour.name + "' needs an endpoint: give --endpoint");
  }
  const int location = locationCode(flavour, options.region);

  const SessionGuard session = openSession(options);
  requireSuccess(s3_create_bucket(session.handle(), options.bucket.c_str(), location),
                 "create bucket '" + options.bucket + "'");
}

void listRegions(const S3Options& options) {
  Listing listing{{"code", "name"}, {}};
  for (const auto& location : locationsOf(chooseFlavour(options.flavour, options.endpoint))) {
    const Cell name = location.name == nullptr ? Cell() : Cell(std::string(location.name));
    listing.rows.push_back({location.location_contraint, name});
  }
  writeListing(listing, options.json);
}

void addAccountOptions(CLI::App& command, S3Options& options) {
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
  addProxyOptions(command, options.proxy);
}

void addFlavourOption(CLI::App& command, S3Options& options) {
  std::vector<std::string> names;
  for (const S3Flavour& flavour : s3Flavours()) names.push_back(flavour.name);
  command
      .add_option("--flavour", options.flavour,
                  "Whose regions there are; without it what the endpoint's host tells")
      ->check(CLI::IsMember(names));
}

}  // namespace

void addS3Commands(CLI::App& app) {
  CLI::App* s3 = app.add_subcommand("s3", "S3 and compatible stores");
  s3->require_subcommand(1);
  const auto options = std::make_shared<S3Options>();  // kept alive by the callbacks
  addAccountOptions(*s3, *options);

  ObjectStore store;
  store.bucketWord = "bucket";
  store.listDescription =
      "List the folders directly below a folder, as far as they are among its first 1000 "
      "entries, files included";
  store.open = [options] { return openSession(*options); };
  store.listBuckets = s3_list_bucket;
  store.listFolders = s3_list_directory;
  store.makeFolder = s3_create_directory;
  addObjectStoreCommands(*s3, store);

  CLI::App* create = s3->add_subcommand("create-bucket", "Make a bucket; prints nothing");
  create->add_option("NAME", options->bucket, "The bucket's name")->required()->type_name("");
  create
      ->add_option("--region", options->region,
                   "Where to make it: a name or code that `vemlo s3 regions` lists; without it the "
                   "first of them")
      ->type_name("NAME");
  addFlavourOption(*create, *options);
  create->callback([options] { createBucket(*options); });

  CLI::App* regions = s3->add_subcommand("regions", "List where buckets can be made");
  addFlavourOption(*regions, *options);
  addJsonFlag(*regions, options->json);
  regions->callback([options] { listRegions(*options); });
}

}  // namespace tool
