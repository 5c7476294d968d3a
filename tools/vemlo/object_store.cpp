#include "object_store.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "command_failure.h"
#include "output.h"
#include "progress.h"
#include "result_codes.h"
#include "text.h"

namespace tool {
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

/// `path` without the slashes at its beginning.
std::string relative(const std::string& path) {
  return path.substr(std::min(path.find_first_not_of('/'), path.size()));
}

struct FolderNames {
  int code;  // of the library
  std::vector<std::string> names;
};

FolderNames namesBelow(const ObjectStore& store, session* handle, const Arguments& arguments,
                       const std::string& prefix) {
  directory* folders = nullptr;
  int count = 0;
  FolderNames result;
  result.code = withProgress(arguments.json, [&] {
    return store.listFolders(handle, arguments.bucket.c_str(), prefix.c_str(), &folders, &count);
  });
  for (int i = 0; i < count; ++i) result.names.emplace_back(folders[i].name);
  free_diretories(folders, count);
  return result;
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
  const SessionGuard session = store.open();
  const auto [code, folders] =
      namesBelow(store, session.handle(), arguments, withSlash(arguments.folder));
  requireSuccess(code, "list the folders in " + store.bucketWord + " '" + arguments.bucket + "'");

  Listing names{{"name"}, {}};
  for (const std::string& folder : folders) names.rows.push_back({folder});
  // Names that begin with '/' are possible, but most likely the user thinks of a path of a disk.
  const bool isAbsolute = !arguments.folder.empty() && arguments.folder.front() == '/';
  const std::string meant = relative(arguments.folder);
  const std::string advice =
      meant.empty() ? "leave PREFIX out to see the top level" : "give '" + meant + "' instead";
  writeListing(names, arguments.json,
               isAbsolute ? "no folders whose names begin with '/'; " + advice : "no folders");
}

/// Whether the folder is there, as far as the account may look. Throws CommandFailure with `action`, which
/// the look is a part of.
bool exists(const ObjectStore& store, session* handle, const Arguments& arguments,
            const std::string& path, const std::string& action) {
  constexpr int kAccessDenied = 15;
  // The folder itself, and others whose names begin with its name.
  const auto [code, names] = namesBelow(store, handle, arguments, path.substr(0, path.size() - 1));
  if (code == kAccessDenied) {
    writeMessage("the account may not list folders; the folder is made without a look for it");
    return false;
  }
  requireSuccess(code, action);
  return std::find(names.begin(), names.end(), path) != names.end();
}

void makeFolder(const ObjectStore& store, const Arguments& arguments) {
  requireBucketName(arguments.bucket, store.bucketWord);
  if (arguments.folder.empty())
    throw CommandFailure(ExitCode::BadUsage, "the folder's path is empty");
  if (arguments.folder.front() == '/') {
    const std::string meant = relative(arguments.folder);
    throw CommandFailure(ExitCode::BadUsage, "the folder's path must not begin with '/'; give " +
                                                 (meant.empty() ? "a name, such as photos/2020"
                                                                : "'" + meant + "' instead"));
  }
  const std::string path = withSlash(arguments.folder);
  const std::string where = " in " + store.bucketWord + " '" + arguments.bucket + "'";
  const std::string action = "make folder '" + path + "'" + where;

  const SessionGuard session = store.open();
  if (exists(store, session.handle(), arguments, path, action)) {
    writeMessage("there is a folder '" + path + "'" + where + " already; nothing was changed");
    return;
  }
  requireSuccess(store.makeFolder(session.handle(), arguments.bucket.c_str(), path.c_str()),
                 action);
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

  CLI::App* make = service.add_subcommand(
      "mkdir", "Make a folder; prints nothing. A folder that is there already is left as it is");
  addBucketArgument(*make, store, *arguments);
  make->add_option("PATH", arguments->folder,
                   "The new folder, such as photos/2020, without '/' at its beginning; the '/' at "
                   "its end may be left out, it is added")
      ->required()
      ->type_name("");
  make->callback([store, arguments] { makeFolder(store, *arguments); });
}

void requireBucketName(const std::string& name, const std::string& bucketWord) {
  if (name.empty())
    throw CommandFailure(ExitCode::BadUsage, "the " + bucketWord + "'s name is empty");
  if (name.find('/') != std::string::npos) {
    throw CommandFailure(ExitCode::BadUsage, "the " + bucketWord + "'s name must not contain '/'");
  }
}

}  // namespace tool
