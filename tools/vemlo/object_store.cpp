#include "object_store.h"

#include <CLI/CLI.hpp>
#include <memory>

#include "failure.h"
#include "output.h"
#include "progress.h"
#include "result_codes.h"
#include "text.h"

namespace vemlo {
namespace {

struct Arguments {
  std::string bucket;
  std::string folder;
  bool json = false;
};

/// Adds the slash that ends a folder. The top level is the empty folder.
std::string withSlash(const std::string& folder) {
  return folder.empty() || folder.back() == '/' ? folder : folder + '/';
}

void listBuckets(const ObjectStore& store, const Arguments& arguments) {
  const SessionGuard session = store.open();
  char** buckets = nullptr;
  int count = 0;
  const int code = withProgress(
      arguments.json, [&] { return store.listBuckets(session.handle(), &buckets, &count); });
  requireSuccess(code, "list the " + store.bucketWord + "s");

  Listing names{{"name"}, {}};
  for (int i = 0; i < count; ++i) names.rows.push_back({std::string(buckets[i])});
  free_buckets(buckets, count);
  writeListing(names, arguments.json, "no " + store.bucketWord + "s");
}

void listFolders(const ObjectStore& store, const Arguments& arguments) {
  requireBucketName(arguments.bucket, store.bucketWord);
  const std::string prefix = withSlash(arguments.folder);

  const SessionGuard session = store.open();
  directory* folders = nullptr;
  int count = 0;
  const int code = withProgress(arguments.json, [&] {
    return store.listFolders(session.handle(), arguments.bucket.c_str(), prefix.c_str(), &folders,
                             &count);
  });
  requireSuccess(code, "list the folders in " + store.bucketWord + " '" + arguments.bucket + "'");

  Listing names{{"name"}, {}};
  for (int i = 0; i < count; ++i) names.rows.push_back({std::string(folders[i].name)});
  free_diretories(folders, count);
  writeListing(names, arguments.json, "no folders");
}

void makeFolder(const ObjectStore& store, const Arguments& arguments) {
  requireBucketName(arguments.bucket, store.bucketWord);
  if (arguments.folder.empty()) throw Failure(ExitCode::BadUsage, "the folder's path is empty");
  if (arguments.folder.front() == '/') {
    throw Failure(ExitCode::BadUsage, "the folder's path must not begin with '/'");
  }
  const std::string path = withSlash(arguments.folder);

  const SessionGuard session = store.open();
  requireSuccess(
      store.makeFolder(session.handle(), arguments.bucket.c_str(), path.c_str()),
      "make folder '" + path + "' in " + store.bucketWord + " '" + arguments.bucket + "'");
}

void addBucketArgument(CLI::App& command, const ObjectStore& store, Arguments& arguments) {
  command
      .add_option(upperCase(store.bucketWord), arguments.bucket,
                  "The " + store.bucketWord + "'s name")
      ->required()
      ->type_name("");
}

}  // namespace

void addObjectStoreCommands(CLI::App& service, const ObjectStore& store) {
  const auto arguments = std::make_shared<Arguments>();  // kept alive by the callbacks

  CLI::App* buckets = service.add_subcommand(store.bucketWord + "s",
                                             "List the " + store.bucketWord + "s of the account");
  addJsonFlag(*buckets, arguments->json);
  buckets->callback([store, arguments] { listBuckets(store, *arguments); });

  CLI::App* list = service.add_subcommand("ls", store.listDescription);
  addBucketArgument(*list, store, *arguments);
  list->add_option("PREFIX", arguments->folder,
                   "The folder to look into, such as photos/2019; the '/' at its end may be left "
                   "out, it is added. Without PREFIX the top level")
      ->type_name("");
  addJsonFlag(*list, arguments->json);
  list->callback([store, arguments] { listFolders(store, *arguments); });

  CLI::App* make = service.add_subcommand("mkdir", "Make a folder; prints nothing");
  addBucketArgument(*make, store, *arguments);
  make->add_option("PATH", arguments->folder,
                   "The new folder, such as photos/2020, without '/' at its beginning; the '/' at "
                   "its end may be left out, it is added")
      ->required()
      ->type_name("");
  make->callback([store, arguments] { makeFolder(store, *arguments); });
}

void requireBucketName(const std::string& name, const std::string& bucketWord) {
  if (name.empty()) throw Failure(ExitCode::BadUsage, "the " + bucketWord + "'s name is empty");
  if (name.find('/') != std::string::npos) {
    throw Failure(ExitCode::BadUsage, "the " + bucketWord + "'s name must not contain '/'");
  }
}

}  // namespace vemlo
