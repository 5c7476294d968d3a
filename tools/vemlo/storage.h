#pragma once

#include <string>
#include <vector>

#include "command_failure.h"
#include "output.h"

namespace tool {

/// A folder of an account; also a bucket or container, or the top of the account.
struct Folder {
  /// The last part of the path. Empty for the top.
  std::string name;
  /// The drive's id. Empty for object stores.
  std::string id;
  /// Below the top of the account, or below the folder that the user has named by its id. Neither
  /// begins nor ends with a slash, unless a name is empty, as it can be in object stores.
  std::string path;
};

/// `parent`/`name`; `name` if `parent` is empty.
std::string joined(const std::string& parent, const std::string& name);

struct Folders {
  std::vector<Folder> folders;
  /// Whether the service has more of them.
  bool isCutShort = false;
};

/// The folders of one account, of whichever service. What fails throws CommandFailure.
class Storage {
 public:
  Storage() = default;
  virtual ~Storage() = default;
  Storage(const Storage&) = delete;
  Storage& operator=(const Storage&) = delete;

  /// The folder at a path. In an object store it need not exist.
  virtual Folder find(const std::string& path) = 0;

  /// The folders directly below a folder, in the service's order.
  virtual Folders foldersIn(const Folder& parent) = 0;

  /// Makes the folder at a path, which is not empty and must not exist. Its parent must exist,
  /// except in a bucket.
  ///
  /// @param region  where to make a bucket; empty: where the service does by default. Nothing else
  ///                takes one.
  virtual Folder make(const std::string& path, const std::string& region) = 0;

  /// Makes the folder at a path and what is missing above it. Changes nothing if it exists.
  virtual Folder makeAll(const std::string& path, const std::string& region) = 0;

  /// The folder as the user would name it, in quotes, for messages.
  virtual std::string describe(const std::string& path) const = 0;

  /// What the folders directly below one are, such as "buckets".
  virtual std::string wordForFoldersIn(const Folder& parent) const = 0;
};

/// A listing of folders by name, and by id where they have one.
Listing listingOf(const std::vector<Folder>& folders, bool showsIds);

/// The failure of a command that cannot show all entries. `what` is listed.
CommandFailure cutShort(const std::string& what);

}  // namespace tool
