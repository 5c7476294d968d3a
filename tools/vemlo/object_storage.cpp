#include "object_storage.h"

#include <algorithm>
#include <utility>

#include "command_failure.h"
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

}  // namespace

ObjectStorage::ObjectStorage(std::unique_ptr<const ObjectStore> store, const Calls& calls)
    : store_(std::move(store)), calls_(calls) {}

Folder ObjectStorage::find(const std::string& path) {
  const std::string folder = withoutLastSlash(path);
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
  if (!hasBucket(bucket)) makeBucket(bucket, region);
  const std::string key = prefixIn(folder.path);
  if (!key.empty()) makeFolder(bucket, key);
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
  const std::string& account = calls_.caller.account;
  const std::string described = account.empty() ? "'" + bucket + "'" : describe(bucket);
  calls_.make("create " + bucketWord() + " " + described,
              [&](const vemlo::Call& call) { store_->createBucket(bucket, location, call); });
}

bool ObjectStorage::makeFolder(const std::string& bucket, const std::string& key) const {
  const std::string action = "make folder " + describe(bucket + "/" + withoutLastSlash(key));
  if (hasFolder(bucket, key, action)) return false;
  calls_.make(action, [&](const vemlo::Call& call) { store_->createFolder(bucket, key, call); });
  return true;
}

bool ObjectStorage::hasBucket(const std::string& bucket) const {
  requireBucketName(bucket, bucketWord());
  try {
    const vemlo::Names names =
        calls_.attempt([this](const vemlo::Call& call) { return store_->buckets(call); });
    return std::find(names.begin(), names.end(), bucket) != names.end();
  } catch (const vemlo::Failure& failure) {
    if (failure.kind() == vemlo::Kind::Denied) return false;
    throw explain("list the " + bucketWord() + "s of '" + calls_.caller.account + "'", failure,
                  calls_.caller);
  }
}

/// Whether the folder is there, as far as the account may look. Throws CommandFailure with
/// `action`, which the look is a part of.
bool ObjectStorage::hasFolder(const std::string& bucket, const std::string& key,
                              const std::string& action) const {
  try {
    // The folder itself, and others whose names begin with its name.
    const vemlo::Folders found = calls_.attempt([&](const vemlo::Call& call) {
      return store_->folders(bucket, withoutLastSlash(key), call);
    });
    return std::any_of(found.begin(), found.end(),
                       [&key](const vemlo::FolderEntry& entry) { return entry.name() == key; });
  } catch (const vemlo::Failure& failure) {
    if (failure.kind() != vemlo::Kind::Denied) throw explain(action, failure, calls_.caller);
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
}

}  // namespace tool
