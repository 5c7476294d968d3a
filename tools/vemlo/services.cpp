#include "services.h"

#include "command_failure.h"
#include "suggestion.h"

namespace tool {

const std::vector<Service>& services() {
  static const std::vector<Service> kServices{
      {vemlo::Service::GoogleDrive, "google-drive", "Google Drive", "", false},
      {vemlo::Service::OneDrive, "onedrive", "OneDrive", "", true},
      {vemlo::Service::Dropbox, "dropbox", "Dropbox", "", true},
      {vemlo::Service::AmazonDrive, "amazon-drive", "Amazon Drive", "", false},
      {vemlo::Service::S3, "s3", "S3", "bucket", false},
      {vemlo::Service::AzureBlobs, "azure", "Azure", "container", false}};
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
