#pragma once

#include <string>

#include "support/drives.h"

namespace TestSupport {

/// How a drive lists and creates folders, for the suites over all drives.
template <typename Drive>
struct DriveOperations;

template <>
struct DriveOperations<AmazonDrive> {
  /// The members of a page with its entries and with the token of the next page.
  static constexpr char kEntries[] = "data";
  static constexpr char kNext[] = "nextToken";
  /// What list() asks for; 0 if the service chooses.
  static constexpr int kPageSize = 100;

  /// The page that `token` selects; the first one if it is empty.
  static auto list(const AmazonDrive::Client& client, const std::string& folder,
                   const std::string& token = {}) {
    CloudStorage::Client::AmazonDrive::Model::ListFileResourceRequest request;
    request.endpoint = kMetadataEndpoint;
    request.filters = folder;
    request.limit = kPageSize;
    request.startToken = token;
    return client.listFileResource(request);
  }
  static auto create(const AmazonDrive::Client& client) {
    CloudStorage::Client::AmazonDrive::Model::FileRequest request;
    request.endpoint = kMetadataEndpoint;
    return client.folderCreate(request);
  }
  template <typename Result>
  static const auto& entriesOf(const Result& result) {
    return result.files;
  }
  template <typename Entry>
  static std::string addressOf(const Entry& entry) {
    return std::string(entry.id);
  }
};

template <>
struct DriveOperations<Dropbox> {
  static constexpr char kEntries[] = "entries";
  static constexpr char kNext[] = "cursor";
  static constexpr int kPageSize = 0;

  static auto list(const Dropbox::Client& client, const std::string& folder,
                   const std::string& token = {}) {
    CloudStorage::Client::Dropbox::Model::ListFolderRequest request;
    request.path = folder;
    request.cursor = token;
    return client.listFolder(request);
  }
  static auto create(const Dropbox::Client& client) {
    CloudStorage::Client::Dropbox::Model::CreateFolderRequest request;
    request.path = "/folder";
    return client.createFolder(request);
  }
  template <typename Result>
  static const auto& entriesOf(const Result& result) {
    return result.entries;
  }
  template <typename Entry>
  static std::string addressOf(const Entry& entry) {
    return std::string(entry.path);
  }
};

template <>
struct DriveOperations<GoogleDrive> {
  static constexpr char kEntries[] = "files";
  static constexpr char kNext[] = "nextPageToken";
  static constexpr int kPageSize = 500;

  static auto list(const GoogleDrive::Client& client, const std::string& folder,
                   const std::string& token = {}) {
    CloudStorage::Client::GoogleDrive::Model::ListFileResourceRequest request;
    request.query = folder;
    request.pageSize = kPageSize;
    request.pageToken = token;
    return client.listFileResource(request);
  }
  static auto create(const GoogleDrive::Client& client) {
    return client.uploadFile(CloudStorage::Client::GoogleDrive::Model::UploadFileRequest());
  }
  template <typename Result>
  static const auto& entriesOf(const Result& result) {
    return result.files;
  }
  template <typename Entry>
  static std::string addressOf(const Entry& entry) {
    return std::string(entry.id);
  }
};

template <>
struct DriveOperations<OneDrive> {
  static constexpr char kEntries[] = "value";
  static constexpr char kNext[] = "@odata.nextLink";
  static constexpr int kPageSize = 500;

  static auto list(const OneDrive::Client& client, const std::string& folder,
                   const std::string& token = {}) {
    CloudStorage::Client::OneDrive::Model::ListChildrenRequest request;
    request.itemId = folder;
    request.pageSize = kPageSize;
    request.pageToken = token;
    return client.listChildren(request);
  }
  static auto create(const OneDrive::Client& client) {
    CloudStorage::Client::OneDrive::Model::CreateFolderRequest request;
    request.parentItemId = "folder";
    return client.createFolder(request);
  }
  template <typename Result>
  static const auto& entriesOf(const Result& result) {
    return result.items;
  }
  template <typename Entry>
  static std::string addressOf(const Entry& entry) {
    return std::string(entry.id);
  }
};

}  // namespace TestSupport
