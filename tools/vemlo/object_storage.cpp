#include "object_storage.h"

#include <algorithm>
#include <utility>

#include "command_failure.h"
#include "error_numbers.h"
#include "output.h"

namespace tool {
namespace {

std::string bucketIn(const std::string& path) { return path.substr(0, path.find('/')); }

/// The prefix of the keys in a folder; empty for a bucket.
std::string prefixIn(const std::string& path) {
  const std::size_t slash = path.find('/');
  return slash == std::string::npos ? "" : path.substr(slash + 1) + "/";
}

std::string withoutLastSlash(const std::string& path) {
  return path.empty() || path.back() != '/' ? path : path.substr(0, path.size() - 1);
}

/// No store is asked for a folder whose key begins with a slash.
void requireFirstName(const std::string& key) {
  if (key.empty() || key.front() != '/') return;
  throw CommandFailure(ExitCode::BadUsage,
                       "a folder's name is empty: there are two slashes behind that of the bucket");
}

}  // namespace

ObjectStorage::ObjectStorage(std::unique_ptr<const ObjectStore> store, const Calls& calls)
    : store_(std::move(store)), calls_(calls) {}

Folder ObjectStorage::find(const std::string& path) {
  const std::string folder = withoutLastSlash(path);
  if (!folder.empty()) requireBucketName(bucketIn(folder), bucketWord());
  return {folder.substr(folder.rfind('/') + 1), "", folder};
}

Folders ObjectStorage::foldersIn(const Folder& parent) {
  Folders found;
  if (parent.path.empty()) {
    const vemlo::Names listed = buckets();
    found.isCutShort = listed.isCutShort();
    for (const std::string_view name : listed) {
      found.folders.push_back({std::string(name), "", std::string(name)});
    }
    return found;
  }
  const std::string prefix = prefixIn(parent.path);
  const vemlo::Folders listed = folders(bucketIn(parent.path), prefix);
  found.isCutShort = listed.isCutShort();
  for (const vemlo::FolderEntry entry : listed) {
    const std::string key(entry.name());
    // A store that does not answer what it was asked has other keys.
    if (key.size() <= prefix.size() || key.compare(0, prefix.size(), prefix) != 0) continue;
    const std::string name = withoutLastSlash(key.substr(prefix.size()));
    found.folders.push_back({name, "", parent.path + "/" + name});
  }
  return found;
}

Folder ObjectStorage::make(const std::string& path, const std::string& region) {
  Folder folder = find(path);
  const std::string key = prefixIn(folder.path);
  if (key.empty()) {
    makeBucket(folder.path, region);
    return folder;
  }
  if (!region.empty()) {
    throw CommandFailure(ExitCode::BadUsage, "--region is for " + bucketWord() + "s alone");
  }
  requireFirstName(key);
  if (!makeFolder(bucketIn(folder.path), key)) {
    throw CommandFailure(ExitCode::ServiceFailed,
                         "there is a folder " + describe(folder.path) +
                             " already; nothing was changed. Use it, or choose another name");
  }
  return folder;
}

Folder ObjectStorage::makeAll(const std::string& path, const std::string& region) {
  Folder folder = find(path);
  const std::string bucket = bucketIn(folder.path);
  const std::string key = prefixIn(folder.path);
  requireFirstName(key);
  const int location = store_->locationOf(region);
  // The list of the buckets is not asked for: the account may not see it, or not all of it.
  if (key.empty()) {
    if (!hasBucket(bucket)) requireBucket(bucket, location);
    return folder;
  }
  try {
    tryToMakeFolder(bucket, key);
  } catch (const vemlo::Failure& failure) {
    if (failure.details().error != kNoBucket) {
      throw explain(actionOfMaking(bucket, key), failure, calls_.caller);
    }
    requireBucket(bucket, location);
    calls_.make(actionOfMaking(bucket, key),
                [&](const vemlo::Call& call) { store_->createFolder(bucket, key, call); });
  }
  return folder;
}

std::string ObjectStorage::describe(const std::string& path) const {
  if (!calls_.caller.account.empty()) return "'" + calls_.caller.account + ":/" + path + "'";
  const std::string prefix = prefixIn(path);
  return (prefix.empty() ? "" : "'" + prefix + "' in ") + bucketWord() + " '" + bucketIn(path) +
         "'";
}

std::string ObjectStorage::wordForFoldersIn(const Folder& parent) const {
  return parent.path.empty() ? bucketWord() + "s" : "folders";
}

vemlo::Names ObjectStorage::buckets() const {
  const std::string& account = calls_.caller.account;
  return calls_.make(
      "list the " + bucketWord() + "s" + (account.empty() ? "" : " of '" + account + "'"),
      [this](const vemlo::Call& call) { return store_->buckets(call); });
}

vemlo::Folders ObjectStorage::folders(const std::string& bucket, const std::string& prefix) const {
  return calls_.make(
      "list the folders in " + describe(withoutLastSlash(bucket + "/" + prefix)),
      [&](const vemlo::Call& call) { return store_->folders(bucket, prefix, call); });
}

void ObjectStorage::makeBucket(const std::string& bucket, const std::string& region) const {
  requireBucketName(bucket, bucketWord());
  const int location = store_->locationOf(region);
  calls_.make(actionOfMaking(bucket),
              [&](const vemlo::Call& call) { store_->createBucket(bucket, location, call); });
}

bool ObjectStorage::makeFolder(const std::string& bucket, const std::string& key) const {
  try {
    return tryToMakeFolder(bucket, key);
  } catch (const vemlo::Failure& failure) {
    throw explain(actionOfMaking(bucket, key), failure, calls_.caller);
  }
}

std::string ObjectStorage::actionOfMaking(const std::string& bucket) const {
  return "create " + bucketWord() + " " +
         (calls_.caller.account.empty() ? "'" + bucket + "'" : describe(bucket));
}

std::string ObjectStorage::actionOfMaking(const std::string& bucket, const std::string& key) const {
  return "make folder " + describe(bucket + "/" + withoutLastSlash(key));
}

/// Makes a bucket unless the account has one of this name, which another process may just have
/// made.
void ObjectStorage::requireBucket(const std::string& bucket, int location) const {
  try {
    calls_.attempt([&](const vemlo::Call& call) { store_->createBucket(bucket, location, call); });
  } catch (const vemlo::Failure& failure) {
    if (failure.details().error == kBucketOfThisAccount) return;
    throw explain(actionOfMaking(bucket), failure, calls_.caller);
  }
}

/// Whether a bucket is there, as far as the account may look into it.
bool ObjectStorage::hasBucket(const std::string& bucket) const {
  try {
    // Hardly any key begins with a slash, so the response is short, whatever the bucket contains.
    calls_.attempt([&](const vemlo::Call& call) { return store_->folders(bucket, "/", call); });
    return true;
  } catch (const vemlo::Failure& failure) {
    const bool isUnknown =
        failure.kind() == vemlo::Kind::Denied || failure.details().error == kNoBucket;
    if (isUnknown) return false;
    throw explain("look into " + describe(bucket), failure, calls_.caller);
  }
}

/// `makeFolder`, but throws vemlo::Failure.
bool ObjectStorage::tryToMakeFolder(const std::string& bucket, const std::string& key) const {
  if (hasFolder(bucket, key)) return false;
  calls_.attempt([&](const vemlo::Call& call) { store_->createFolder(bucket, key, call); });
  return true;
}

/// Whether the folder is there, as far as the account may look. Throws vemlo::Failure.
bool ObjectStorage::hasFolder(const std::string& bucket, const std::string& key) const {
  try {
    // The folder itself, and others whose names begin with its name.
    const vemlo::Folders found = calls_.attempt([&](const vemlo::Call& call) {
      return store_->folders(bucket, withoutLastSlash(key), call);
    });
    return std::any_of(found.begin(), found.end(),
                       [&key](const vemlo::FolderEntry& entry) { return entry.name() == key; });
  } catch (const vemlo::Failure& failure) {
    if (failure.kind() != vemlo::Kind::Denied) throw;
  }
  writeMessage("the account may not list folders; the folder is made without a look for it");
  return false;
}

void requireBucketName(const std::string& name, const std::string& bucketWord) {
  if (name.empty()) {
    throw CommandFailure(ExitCode::BadUsage, "the " + bucketWord + "'s name is empty");
  }
  if (name.find('/') != std::string::npos) {
    throw CommandFailure(ExitCode::BadUsage, "the " + bucketWord + "'s name must not contain '/'");
  }
  if (name == "." || name == "..") {
    throw CommandFailure(ExitCode::BadUsage, "no " + bucketWord + " is called '" + name + "'");
  }
}

}  // namespace tool
