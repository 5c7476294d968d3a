#pragma once

#include <libvemlo.h>

#include <string>
#include <string_view>
#include <vector>

#include "call.hpp"
#include "failure.hpp"
#include "listing.hpp"
#include "proxy.hpp"
#include "session.hpp"
#include "texts.hpp"

namespace vemlo {

struct S3Account {
  /// `[http[s]://]host[:port][/base]`; https without a scheme. Empty: https://s3.amazonaws.com.
  std::string endpoint{};
  /// The region for which requests are signed. Empty: the one that the endpoint names, otherwise
  /// "us-east-1".
  std::string region{};
  std::string accessKey{};
  std::string secretKey{};
};

struct AzureAccount {
  /// The name of a region or cloud such as "westeurope", "china" or "usgovvirginia", which selects
  /// the cloud. Empty or unknown: the global cloud.
  std::string region{};
  /// The storage account.
  std::string name{};
  /// One of the account's keys, base64.
  std::string key{};
};

/// A location in which a bucket can be created.
struct Location {
  int code;
  /// Empty for a customized endpoint, which has no locations to choose from.
  std::string_view name{};
};

enum class Flavour { Aws, China, Wasabi, Customized };

/// The locations of a kind of S3 endpoint.
inline std::vector<Location> locationsOf(Flavour flavour) {
  constexpr int kEndOfTable = 17;
  const location_contraint_name_mapping* entry = nullptr;
  switch (flavour) {
    case Flavour::Aws:
      entry = s3_get_location_contraint_name_mappings();
      break;
    case Flavour::China:
      entry = s3_cn_get_location_contraint_name_mappings();
      break;
    case Flavour::Wasabi:
      entry = wasabi_get_location_contraint_name_mappings();
      break;
    case Flavour::Customized:
      entry = customized_get_location_contraint_name_mappings();
      break;
  }
  std::vector<Location> locations;
  for (; entry->location_contraint != kEndOfTable; ++entry) {
    const std::string_view name = entry->name == nullptr ? "" : entry->name;
    locations.push_back({entry->location_contraint, name});
  }
  return locations;
}

namespace detail {

using ListBuckets = int (*)(session*, char***, int*);
using ListFolders = int (*)(session*, const char* bucket, const char* prefix, directory**, int*);
using CreateFolder = int (*)(session*, const char* bucket, const char* path);

inline Names names(const Session& handle, ListBuckets list, const Call& call) {
  Names found;
  make(call, [&] {
    return found.receive(
        [&](char*** names, int* count) { return list(handle.get(), names, count); });
  });
  return found;
}

inline Folders folders(const Session& handle, ListFolders list, std::string_view bucket,
                       std::string_view prefix, const Call& call) {
  const std::string bucketText = argument(bucket);
  const std::string prefixText = argument(prefix);
  Folders found;
  make(call, [&] {
    return found.receive([&](directory** entries, int* count) {
      return list(handle.get(), bucketText.c_str(), prefixText.c_str(), entries, count);
    });
  });
  return found;
}

inline void createFolder(const Session& handle, CreateFolder create, std::string_view bucket,
                         std::string_view path, const Call& call) {
  const std::string bucketText = argument(bucket);
  const std::string pathText = argument(path);
  make(call, [&] { return create(handle.get(), bucketText.c_str(), pathText.c_str()); });
}

}  // namespace detail

/// A session with an account of S3 or a compatible store.
class S3 {
 public:
  /// Opens the session; no connection is made, and nothing is checked.
  explicit S3(const S3Account& account, const Proxy& proxy = {}) {
    const auto record = detail::recordOf<proxy_setting>(proxy);
    session_.reset(libvemlo_s3_init(detail::argument(account.endpoint).c_str(),
                                    detail::argument(account.region).c_str(),
                                    detail::argument(account.accessKey).c_str(),
                                    detail::argument(account.secretKey).c_str(), &record));
    if (session_ == nullptr) throw Failure("the session cannot be opened");
  }

  /// The buckets of the account.
  Names buckets(const Call& call = {}) const {
    return detail::names(session_, s3_list_bucket, call);
  }

  /// Creates a bucket.
  ///
  /// @param location  a code of `locationsOf`; 16 for a customized endpoint.
  void createBucket(std::string_view bucket, int location, const Call& call = {}) const {
    const std::string text = detail::argument(bucket);
    detail::make(call, [&] { return s3_create_bucket(session_.get(), text.c_str(), location); });
  }

  /// The folders directly below `prefix`, which is empty or ends with a "/". All of them if
  /// `Settings::wholeS3Listings` is set, otherwise those among the first 1,000 keys.
  Folders folders(std::string_view bucket, std::string_view prefix, const Call& call = {}) const {
    return detail::folders(session_, s3_list_directory, bucket, prefix, call);
  }

  /// Creates a folder: an empty object.
  ///
  /// @param key  the full path, which must end with a "/".
  void createFolder(std::string_view bucket, std::string_view key, const Call& call = {}) const {
    detail::createFolder(session_, s3_create_directory, bucket, key, call);
  }

  /// The session of the C interface, which stays owned by this object.
  session* get() const noexcept { return session_.get(); }

 private:
  detail::Session session_;
};

/// A session with an Azure storage account.
class AzureBlobs {
 public:
  /// Opens the session; no connection is made. Throws Failure with `Kind::WrongKeys` if the key is
  /// not base64 text, after an ERROR line in the log.
  explicit AzureBlobs(const AzureAccount& account, const Proxy& proxy = {}) {
    const auto record = detail::recordOf<proxy_setting>(proxy);
    session_.reset(libvemlo_azure_ssb_init(detail::argument(account.region).c_str(),
                                           detail::argument(account.name).c_str(),
                                           detail::argument(account.key).c_str(), &record));
    if (session_ == nullptr) {
      FailureDetails details;
      details.kind = Kind::WrongKeys;
      throw Failure("the key of the storage account is not base64 text", details);
    }
  }

  /// The containers of the account.
  Names containers(const Call& call = {}) const {
    return detail::names(session_, azure_ssb_list_bucket, call);
  }

  /// Creates a container.
  void createContainer(std::string_view container, const Call& call = {}) const {
    const std::string text = detail::argument(container);
    detail::make(call, [&] { return azure_ssb_create_bucket(session_.get(), text.c_str()); });
  }

  /// The folders directly below `prefix`, which is empty or ends with a "/".
  Folders folders(std::string_view container, std::string_view prefix,
                  const Call& call = {}) const {
    return detail::folders(session_, azure_ssb_list_directory, container, prefix, call);
  }

  /// Creates a folder: an empty blob.
  void createFolder(std::string_view container, std::string_view path,
                    const Call& call = {}) const {
    detail::createFolder(session_, azure_ssb_create_directory, container, path, call);
  }

  /// The session of the C interface, which stays owned by this object.
  session* get() const noexcept { return session_.get(); }

 private:
  detail::Session session_;
};

}  // namespace vemlo
