#pragma once

#include <functional>
#include <string>
#include <vector>

#include "CloudStorage/Client/WSError.h"
#include "support/drive_operations.h"

namespace TestSupport {

/// A call of one operation of a drive's client: its name, and the error that it returns, which is a
/// success if its type is 0.
template <typename Client>
struct DriveCallOf {
  const char* operation;
  std::function<CloudStorage::Client::Error(const Client&)> call;
};

template <typename Outcome>
CloudStorage::Client::Error errorOf(const Outcome& outcome) {
  return outcome.isSuccess() ? CloudStorage::Client::Error() : outcome.getError();
}

inline std::vector<DriveCallOf<AmazonDrive::Client>> driveCalls(AmazonDrive /*drive*/) {
  using Client = AmazonDrive::Client;
  using CloudStorage::Client::AmazonDrive::Model::ComRequest;
  using Operations = DriveOperations<AmazonDrive>;
  return {
      {"getEndpoint",
       [](const Client& client) { return errorOf(client.getEndpoint(ComRequest())); }},
      {"getProfile", [](const Client& client) { return errorOf(client.getProfile(ComRequest())); }},
      {"listFileResource",
       [](const Client& client) { return errorOf(Operations::list(client, "folder")); }},
      {"folderCreate", [](const Client& client) { return errorOf(Operations::create(client)); }},
  };
}

inline std::vector<DriveCallOf<Dropbox::Client>> driveCalls(Dropbox /*drive*/) {
  using Client = Dropbox::Client;
  using Operations = DriveOperations<Dropbox>;
  return {
      {"listFolder", [](const Client& client) { return errorOf(Operations::list(client, "/f")); }},
      {"createFolder", [](const Client& client) { return errorOf(Operations::create(client)); }},
  };
}

inline std::vector<DriveCallOf<GoogleDrive::Client>> driveCalls(GoogleDrive /*drive*/) {
  using Client = GoogleDrive::Client;
  using Operations = DriveOperations<GoogleDrive>;
  const auto get = [](const Client& client) {
    CloudStorage::Client::GoogleDrive::Model::GetFileResourceRequest request;
    request.fileId = "id";
    return errorOf(client.getFileResource(request));
  };
  return {
      {"getFileResource", get},
      {"listFileResource",
       [](const Client& client) { return errorOf(Operations::list(client, "query")); }},
      {"uploadFile", [](const Client& client) { return errorOf(Operations::create(client)); }},
  };
}

inline std::vector<DriveCallOf<OneDrive::Client>> driveCalls(OneDrive /*drive*/) {
  namespace Model = CloudStorage::Client::OneDrive::Model;
  using Client = OneDrive::Client;
  using Operations = DriveOperations<OneDrive>;
  const auto getItem = [](const Client& client) {
    Model::GetDriveItemRequest request;
    request.itemId = "id";
    return errorOf(client.getDriveItem(request));
  };
  return {
      {"getDriveItem", getItem},
      {"getDriveMetadata",
       [](const Client& client) {
         return errorOf(client.getDriveMetadata(Model::GetDriveMetadataRequest()));
       }},
      {"listChildren",
       [](const Client& client) { return errorOf(Operations::list(client, "folder")); }},
      {"createFolder", [](const Client& client) { return errorOf(Operations::create(client)); }},
  };
}

}  // namespace TestSupport
