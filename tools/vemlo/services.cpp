#include "services.h"

#include <algorithm>

#include "account_members.h"
#include "command_failure.h"
#include "suggestion.h"

namespace tool {

const std::vector<Service>& services() {
  using Id = vemlo::Service;
  static const std::vector<std::string> kTokens{member::kAccessToken, member::kRefreshToken};
  static const std::vector<std::string> kOfS3{member::kEndpoint, member::kSigningRegion,
                                              member::kAccessKey, member::kSecretKey};
  static const std::vector<std::string> kOfAzure{member::kAccount, member::kCloud, member::kKey};
  static const std::vector<Service> kServices{
      {Id::GoogleDrive, "google-drive", "Google Drive", "", false, kTokens},
      {Id::OneDrive, "onedrive", "OneDrive", "", true, kTokens},
      {Id::Dropbox, "dropbox", "Dropbox", "", true, kTokens},
      {Id::AmazonDrive, "amazon-drive", "Amazon Drive", "", false, kTokens},
      {Id::S3, "s3", "S3", "bucket", false, kOfS3},
      {Id::AzureBlobs, "azure", "Azure", "container", false, kOfAzure}};
  return kServices;
}

const Service* findService(const std::string& name) {
  for (const Service& service : services()) {
    if (service.name == name) return &service;
  }
  return nullptr;
}

const Service& serviceNamed(const std::string& name) {
  const Service* service = findService(name);
  if (service != nullptr) return *service;
  const std::string meant = closest(name, serviceNames());
  throw CommandFailure(ExitCode::BadUsage,
                       "no service is called '" + name + "'; there are: " + listOfServices() +
                           (meant.empty() ? "" : "; did you mean '" + meant + "'?"));
}

std::vector<std::string> serviceNames() {
  std::vector<std::string> names;
  names.reserve(services().size());
  for (const Service& service : services()) names.push_back(service.name);
  return names;
}

std::string listOfServices() {
  std::string list;
  for (const std::string& name : serviceNames()) list += (list.empty() ? "" : ", ") + name;
  return list;
}

}  // namespace tool
