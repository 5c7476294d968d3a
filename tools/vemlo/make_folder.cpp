#include "make_folder.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "account_command.h"
#include "command_failure.h"
#include "location.h"
#include "output.h"
#include "storage.h"

namespace tool {
namespace {

struct Arguments {
  LocationArguments at;
  std::string region;
  bool makesParents = false;
  bool showsIds = false;
  bool json = false;
};

void makeFolder(const Arguments& arguments) {
  const Location place = parseLocation(arguments.at.location);
  if (namesIn(place.path).empty()) {
    throw CommandFailure(ExitCode::BadUsage,
                         "the new folder's name is missing, as in " + place.account + ":/NAME");
  }
  const OpenLocation location(arguments.at, arguments.json);
  Storage& storage = location.storage();
  const Folder made = arguments.makesParents ? storage.makeAll(location.path(), arguments.region)
                                             : storage.make(location.path(), arguments.region);
  if (arguments.json || arguments.showsIds) {
    writeListing(listingOf({made}, arguments.showsIds), arguments.json);
  }
}

}  // namespace

void addMakeFolderCommand(CLI::App& app) {
  const auto arguments = std::make_shared<Arguments>();
  CLI::App& command = addAccountCommand(
      app, "mkdir", "Make a folder, bucket or container; prints nothing unless asked to");
  addLocationArguments(command, arguments->at,
                       "The new folder, as NAME:/PATH, such as google-drive:/Photos/2020, in a "
                       "folder that is there; NAME:/BUCKET makes a bucket or container");
  command.add_flag("-p,--parents", arguments->makesParents,
                   "Make the missing folders above as well, and nothing where all are there");
  command
      .add_option("--region", arguments->region,
                  "Where to make a bucket of S3: a name or code that `vemlo s3 regions` lists")
      ->type_name("NAME");
  command.add_flag("--ids", arguments->showsIds, "Print the id as well as the name");
  addJsonFlag(command, arguments->json, "Print the new folder as a JSON array of one object");
  command.callback([arguments] { makeFolder(*arguments); });
}

}  // namespace tool
