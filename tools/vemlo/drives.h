#pragma once

#include <libvemlo.h>

#include <string>
#include <vector>

namespace tool {

/// A drive service: the library's functions for it, which have the same form for every drive, and
/// what the commands need besides.
struct Drive {
  /// The SERVICE argument of the commands.
  std::string name;
  /// The name of the service in messages.
  std::string title;
  session* (*open)(const proxy_setting*) = nullptr;
  int (*getAuthorizeUrl)(session*, char**) = nullptr;
  /// Sets the refresh token to null where the service issues none.
  int (*getToken)(session*, const char* code, char** accessToken, char** refreshToken) = nullptr;
  int (*setToken)(session*, const char* accessToken, const char* refreshToken) = nullptr;
  int (*listFolders)(session*, const directory* parent, directory**, int*) = nullptr;
  int (*makeFolder)(session*, const directory* parent, const char* name, directory**) = nullptr;

  /// Null where the root folder needs no request because its id is empty.
  int (*getRoot)(session*, directory**) = nullptr;
  /// Null where the service has no address to sign out at.
  int (*getLogoutUrl)(session*, char**) = nullptr;
  /// Logs the name of the account's holder. Null where the library has no such function.
  int (*logAccountHolder)(session*) = nullptr;
  /// Whether names that differ in case only are the same.
  bool ignoresCase = false;
  /// A message about how long a linked account stays usable; empty if there is nothing to say.
  std::string lifetime;
};

std::vector<std::string> driveNames();

/// The names of all drives, separated by ", ".
std::string listOfDrives();

/// The drive with this name. Throws CommandFailure if there is none.
const Drive& driveNamed(const std::string& name);

}  // namespace tool
