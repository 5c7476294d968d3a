#pragma once

#include <libvemlo.h>

#include <string>
#include <vector>

namespace vemlo {

/// What the library offers in the same form for every drive service.
struct Drive {
  /// What the commands call it.
  std::string name;
  /// What its users call it.
  std::string title;
  session* (*open)(const proxy_setting*);
  int (*getAuthorizeUrl)(session*, char**);
  /// Leaves a null refresh token where the service hands out none.
  int (*getToken)(session*, const char* code, char** accessToken, char** refreshToken);
  int (*setToken)(session*, const char* accessToken, const char* refreshToken);
  /// Null where nobody needs to ask, as the root's id is empty.
  int (*getRoot)(session*, directory**);
  int (*listFolders)(session*, const directory* parent, directory**, int*);
  int (*makeFolder)(session*, const directory* parent, const char* name, directory**);
  /// Whether a folder can have two folders of the same name.
  bool canRepeatNames;
  /// How long a link lasts, if that is worth knowing.
  std::string lifetime;
  /// Null where signing out has no address.
  int (*getLogoutUrl)(session*, char**);
  /// Logs whose account it is. Null where the library cannot ask.
  int (*logHolder)(session*);
};

/// Under which `--help` lists their commands.
constexpr const char* kDriveCommands = "Google Drive, OneDrive, Dropbox and Amazon Drive";

/// The names of all drives, as in "this, that".
std::string driveNames();

/// Throws Failure if no drive has this name.
const Drive& driveNamed(const std::string& name);

}  // namespace vemlo
