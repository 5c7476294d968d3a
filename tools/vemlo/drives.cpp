#include "drives.h"

#include "failure.h"

namespace vemlo {
namespace {

int getDropboxToken(session* handle, const char* code, char** accessToken, char** refreshToken) {
  *refreshToken = nullptr;
  return dropbox_get_token(handle, code, accessToken);
}

int setDropboxToken(session* handle, const char* accessToken, const char* /*refreshToken*/) {
  return dropbox_set_token(handle, accessToken);
}

const std::vector<Drive>& drives() {
  static const std::vector<Drive> kDrives{
      {"google-drive", "Google Drive", libvemlo_google_drive_init, google_drive_get_authorize_url,
       google_drive_get_token, google_drive_set_token, google_drive_get_root_directory,
       google_drive_list_directory, google_drive_create_directory, true, "", nullptr, nullptr},
      {"onedrive", "OneDrive", libvemlo_one_drive_init, one_drive_get_authorize_url,
       one_drive_get_token, one_drive_set_token, one_drive_get_root_directory,
       one_drive_list_directory, one_drive_create_directory, false, "", one_drive_get_logout_url,
       nullptr},
      {"dropbox", "Dropbox", libvemlo_dropbox_init, dropbox_get_authorize_url, getDropboxToken,
       setDropboxToken, nullptr, dropbox_list_directory, dropbox_create_directory, false,
       "a Dropbox link lasts four hours, unless the library was built with "
       "VEMLO_DROPBOX_DURABLE_TOKEN",
       nullptr, nullptr},
      {"amazon-drive", "Amazon Drive", libvemlo_amazon_drive_init, amazon_drive_get_authorize_url,
       amazon_drive_get_token, amazon_drive_set_token, amazon_drive_get_root_directory,
       amazon_drive_list_directory, amazon_drive_create_directory, false, "", nullptr,
       amazon_drive_test_api},
  };
  return kDrives;
}

}  // namespace

std::string driveNames() {
  std::string names;
  for (const Drive& drive : drives()) names += (names.empty() ? "" : ", ") + drive.name;
  return names;
}

const Drive& driveNamed(const std::string& name) {
  for (const Drive& drive : drives()) {
    if (drive.name == name) return drive;
  }
  throw Failure(ExitCode::BadUsage,
                "no drive is called '" + name + "'; there are: " + driveNames());
}

}  // namespace vemlo
