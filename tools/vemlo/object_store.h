#pragma once

#include <libvemlo.h>

#include <CLI/App.hpp>
#include <functional>
#include <string>

#include "session_guard.h"

namespace vemlo {

/// What the library offers in the same form for every object store.
struct ObjectStore {
  /// What the store's users call a bucket.
  std::string bucketWord;
  /// What `ls` does.
  std::string listDescription;
  /// Throws Failure if the options of the account do not suffice.
  std::function<SessionGuard()> open;
  int (*listBuckets)(session*, char***, int*) = nullptr;
  int (*listFolders)(session*, const char* bucket, const char* prefix, directory**, int*) = nullptr;
  int (*makeFolder)(session*, const char* bucket, const char* path) = nullptr;
};

/// Adds the commands that list the buckets, list folders and make one.
void addObjectStoreCommands(CLI::App& service, const ObjectStore& store);

/// Throws Failure if a bucket's name is empty, as requests would then go to the account as a whole,
/// or has a slash, as in a path that begins with the bucket.
void requireBucketName(const std::string& name, const std::string& bucketWord);

}  // namespace vemlo
