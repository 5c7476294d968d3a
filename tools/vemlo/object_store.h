#pragma once

#include <libvemlo.h>

#include <CLI/App.hpp>
#include <functional>
#include <string>

#include "session_guard.h"

namespace tool {

/// An object store: the library's functions for it, which have the same form for every store, and
/// what the commands need besides.
struct ObjectStore {
  /// The service's term for a bucket.
  std::string bucketWord;
  /// The description of `ls` in `--help`.
  std::string listDescription;
  /// Throws CommandFailure if the options do not describe an account.
  std::function<SessionGuard()> open;
  int (*listBuckets)(session*, char***, int*) = nullptr;
  int (*listFolders)(session*, const char* bucket, const char* prefix, directory**, int*) = nullptr;
  int (*makeFolder)(session*, const char* bucket, const char* path) = nullptr;
};

/// Adds the commands that list buckets, list folders and make a folder.
void addObjectStoreCommands(CLI::App& service, const ObjectStore& store);

/// Throws CommandFailure if a bucket's name is empty or contains a slash: requests would then address the
/// whole account, or a path in the bucket.
void requireBucketName(const std::string& name, const std::string& bucketWord);

}  // namespace tool
