#include "drives.h"

#include "command_failure.h"
#include "suggestion.h"

namespace tool {
namespace {

Drive googleDrive() {
  Drive drive;
  drive.name = "google-drive";
  drive.title = "Google Drive";
  drive.open = libvemlo_google_drive_init;
  drive.getAuthorizeUrl = google_drive_get_authorize_url;
  drive.getToken = google_drive_get_token;
  drive.setToken = google_drive_set_token;
  drive.getRoot = google_drive_get_root_directory;
  drive.listFolders = google_drive_list_directory;
  drive.makeFolder = google_drive_create_directory;
  return drive;
}

Drive oneDrive() {
  Drive drive;
  drive.name = "onedrive";
  drive.title = "OneDrive";
  drive.open = libvemlo_one_drive_init;
  drive.getAuthorizeUrl = one_drive_get_authorize_url;
  drive.getToken = one_drive_get_token;
  drive.setToken = one_drive_set_token;
  drive.getRoot = one_drive_get_root_directory;
  drive.listFolders = one_drive_list_directory;
  drive.makeFolder = one_drive_create_directory;
  drive.ignoresCase = true;
  drive.getLogoutUrl = one_drive_get_logout_url;
  return drive;
}

Drive dropbox() {
  Drive drive;
  drive.name = "dropbox";
  drive.title = "Dropbox";
  drive.open = libvemlo_dropbox_init;
  drive.getAuthorizeUrl = dropbox_get_authorize_url;
  drive.getToken = [](session* handle, const char* code, char** accessToken, char** refreshToken) {
    *refreshToken = nullptr;
    return dropbox_get_token(handle, code, accessToken);
  };
  drive.setToken = [](session* handle, const char* accessToken, const char* /*refreshToken*/) {
    return dropbox_set_token(handle, accessToken);
  };
  drive.listFolders = dropbox_list_directory;
  drive.makeFolder = dropbox_create_directory;
  drive.ignoresCase = true;
  drive.lifetime =
      "a Dropbox link lasts four hours, unless the library was built with "
      "VEMLO_DROPBOX_DURABLE_TOKEN";
  return drive;
}

Drive amazonDrive() {
  Drive drive;
  drive.name = "amazon-drive";
  drive.title = "Amazon Drive";
  drive.open = libvemlo_amazon_drive_init;
  drive.getAuthorizeUrl = amazon_drive_get_authorize_url;
  drive.getToken = amazon_drive_get_token;
  drive.setToken = amazon_drive_set_token;
  drive.getRoot = amazon_drive_get_root_directory;
  drive.listFolders = amazon_drive_list_directory;
  drive.makeFolder = amazon_drive_create_directory;
  drive.logAccountHolder = amazon_drive_test_api;
  return drive;
}

const std::vector<Drive>& drives() {
  static const std::vector<Drive> kDrives{googleDrive(), oneDrive(), dropbox(), amazonDrive()};
  return kDrives;
}

}  // namespace

std::vector<std::string> driveNames() {
  std::vector<std::string> names;
  names.reserve(drives().size());
  for (const Drive& drive : drives()) names.push_back(drive.name);
  return names;
}

std::string listOfDrives() {
  std::string list;
  for (const std::string& name : driveNames()) list += (list.empty() ? "" : ", ") + name;
  return list;
}

const Drive& driveNamed(const std::string& name) {
  for (const Drive& drive : drives()) {
    if (drive.name == name) return drive;
  }
  const bool isObjectStore = name == "s3" || name == "azure";
  const std::string meant = closest(name, driveNames());
  std::string advice;
  if (!meant.empty()) advice = "; did you mean '" + meant + "'?";
  if (isObjectStore) advice = "; `vemlo " + name + " --help` lists the commands of " + name;
  throw CommandFailure(ExitCode::BadUsage,
                       "no drive is called '" + name + "'; there are: " + listOfDrives() + advice);
}

}  // namespace tool
