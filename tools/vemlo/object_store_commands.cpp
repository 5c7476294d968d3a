#include "object_store_commands.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>

#include "command_failure.h"
#include "open_library.h"
#include "output.h"
#include "text.h"

namespace tool {
namespace {

using Open = std::function<ObjectStorage(bool isQuiet)>;

struct Arguments {
  std::string bucket;
  std::string folder;
  bool json = false;
};

/// Adds the slash that ends a folder. The top level is the empty folder.
std::string withSlash(const std::string& folder) {
  return folder.empty() || folder.back() == '/' ? folder : folder + '/';
}

/// `path` without the slashes at its beginning.
std::string relative(const std::string& path) {
  return path.substr(std::min(path.find_first_not_of('/'), path.size()));
}

void listBuckets(const Service& service, const Open& open, const Arguments& arguments) {
  const OpenLibrary library;
  const vemlo::Names buckets = open(arguments.json).buckets();
  Listing names{{"name"}, {}};
  for (const std::string_view bucket : buckets) names.rows.push_back({std::string(bucket)});
  if (buckets.isCutShort()) {
    writeListing(names, arguments.json);
    throw cutShort("the " + service.bucketWord + "s");
  }
  writeListing(names, arguments.json, "no " + service.bucketWord + "s");
}

void listFolders(const Service& service, const Open& open, const Arguments& arguments) {
  requireBucketName(arguments.bucket, service.bucketWord);
  const OpenLibrary library;
  const ObjectStorage storage = open(arguments.json);
  const std::string prefix = withSlash(arguments.folder);
  const vemlo::Folders folders = storage.folders(arguments.bucket, prefix);

  Listing names{{"name"}, {}};
  for (const vemlo::FolderEntry folder : folders) {
    names.rows.push_back({std::string(folder.name())});
  }
  if (folders.isCutShort()) {
    writeListing(names, arguments.json);
    throw cutShort(storage.describe(arguments.bucket));
  }
  // Names that begin with '/' are possible, but most likely the user thinks of a path of a disk.
  const bool isAbsolute = !arguments.folder.empty() && arguments.folder.front() == '/';
  const std::string meant = relative(arguments.folder);
  const std::string advice =
      meant.empty() ? "leave PREFIX out to see the top level" : "give '" + meant + "' instead";
  writeListing(names, arguments.json,
               isAbsolute ? "no folders whose names begin with '/'; " + advice : "no folders");
}

void makeFolder(const Service& service, const Open& open, const Arguments& arguments) {
  requireBucketName(arguments.bucket, service.bucketWord);
  if (arguments.folder.empty()) {
    throw CommandFailure(ExitCode::BadUsage, "the folder's path is empty");
  }
  if (arguments.folder.front() == '/') {
    const std::string meant = relative(arguments.folder);
    throw CommandFailure(ExitCode::BadUsage, "the folder's path must not begin with '/'; give " +
                                                 (meant.empty() ? "a name, such as photos/2020"
                                                                : "'" + meant + "' instead"));
  }
  const OpenLibrary library;
  const ObjectStorage storage = open(false);
  const std::string key = withSlash(arguments.folder);
  if (storage.makeFolder(arguments.bucket, key)) return;
  writeMessage("there is a folder '" + key + "' in " + service.bucketWord + " '" +
               arguments.bucket + "' already; nothing was changed");
}

void addBucketArgument(CLI::App& command, const Service& service, Arguments& arguments) {
  command
      .add_option(upperCase(service.bucketWord), arguments.bucket,
                  "The " + service.bucketWord + "'s name")
      ->required()
      ->type_name("");
}

}  // namespace

void addObjectStoreCommands(CLI::App& command, const Service& service, const Open& open) {
  const auto arguments = std::make_shared<Arguments>();  // kept alive by the callbacks

  CLI::App* buckets = command.add_subcommand(service.bucketWord + "s",
                                             "List the " + service.bucketWord + "s of the account");
  addJsonFlag(*buckets, arguments->json);
  buckets->callback([&service, open, arguments] { listBuckets(service, open, *arguments); });

  CLI::App* list = command.add_subcommand("ls", "List the folders directly below a folder");
  addBucketArgument(*list, service, *arguments);
  list->add_option("PREFIX", arguments->folder,
                   "The folder to look into, such as photos/2019; the '/' at its end may be left "
                   "out, it is added. Without PREFIX the top level")
      ->type_name("");
  addJsonFlag(*list, arguments->json);
  list->callback([&service, open, arguments] { listFolders(service, open, *arguments); });

  CLI::App* make = command.add_subcommand(
      "mkdir", "Make a folder; prints nothing. A folder that is there already is left as it is");
  addBucketArgument(*make, service, *arguments);
  make->add_option("PATH", arguments->folder,
                   "The new folder, such as photos/2020, without '/' at its beginning; the '/' at "
                   "its end may be left out, it is added")
      ->required()
      ->type_name("");
  make->callback([&service, open, arguments] { makeFolder(service, open, *arguments); });
}

}  // namespace tool
