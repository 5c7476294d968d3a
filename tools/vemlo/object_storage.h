#pragma once

#include <libvemlo.hpp>
#include <memory>
#include <string>

#include "calls.h"
#include "storage.h"

namespace tool {

/// A session with an object store.
class ObjectStore {
 public:
  ObjectStore() = default;
  virtual ~ObjectStore() = default;
  ObjectStore(const ObjectStore&) = delete;
  ObjectStore& operator=(const ObjectStore&) = delete;

  virtual vemlo::Names buckets(const vemlo::Call& call) const = 0;
  virtual vemlo::Folders folders(const std::string& bucket, const std::string& prefix,
                                 const vemlo::Call& call) const = 0;
  virtual void createFolder(const std::string& bucket, const std::string& key,
                            const vemlo::Call& call) const = 0;
  /// A code for `createBucket`. Throws CommandFailure if the store has no such region.
  virtual int locationOf(const std::string& region) const = 0;
  virtual void createBucket(const std::string& bucket, int location,
                            const vemlo::Call& call) const = 0;
};

/// The folders of an object store. The first name of a path is that of a bucket; what follows it,
/// and a slash, is the prefix of the folder's keys.
class ObjectStorage : public Storage {
 public:
  ObjectStorage(std::unique_ptr<const ObjectStore> store, const Calls& calls);

  Folder find(const std::string& path) override;
  Folders foldersIn(const Folder& parent) override;
  Folder make(const std::string& path, const std::string& region) override;
  Folder makeAll(const std::string& path, const std::string& region) override;
  std::string describe(const std::string& path) const override;
  std::string wordForFoldersIn(const Folder& parent) const override;

  vemlo::Names buckets() const;

  /// The folders directly below a prefix, which is empty or ends with a slash.
  vemlo::Folders folders(const std::string& bucket, const std::string& prefix) const;

  void makeBucket(const std::string& bucket, const std::string& region) const;

  /// Makes a folder. `key` ends with a slash.
  ///
  /// @return False if it exists already; nothing is changed then.
  bool makeFolder(const std::string& bucket, const std::string& key) const;

 private:
  const std::string& bucketWord() const { return calls_.caller.service.bucketWord; }
  std::string actionOfMaking(const std::string& bucket) const;
  std::string actionOfMaking(const std::string& bucket, const std::string& key) const;
  void requireBucket(const std::string& bucket, int location) const;
  bool hasBucket(const std::string& bucket) const;
  bool tryToMakeFolder(const std::string& bucket, const std::string& key) const;
  bool hasFolder(const std::string& bucket, const std::string& key) const;

  std::unique_ptr<const ObjectStore> store_;
  Calls calls_;
};

/// Throws CommandFailure if a bucket's name is empty, relative or contains a slash: requests would
/// then address the whole account, or a path in the bucket.
void requireBucketName(const std::string& name, const std::string& bucketWord);

}  // namespace tool
