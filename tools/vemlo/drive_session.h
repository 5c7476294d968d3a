#pragma once

#include <libvemlo.h>

#include <functional>
#include <string>
#include <vector>

#include "account_file.h"
#include "drives.h"
#include "proxy.h"
#include "session_guard.h"

namespace tool {

struct Folder {
  std::string name;
  std::string id;
};

/// The linked account of a drive. Throws CommandFailure if there is none.
Account linkedAccount(const Drive& drive);

/// A session of a drive service. Every failure is thrown as CommandFailure.
class DriveSession {
 public:
  /// Not authorized until `link` has succeeded.
  ///
  /// @param isQuiet  Suppresses the progress display.
  DriveSession(const Drive& drive, const Proxy& proxy, bool isQuiet);

  /// Authorized with the tokens of the account.
  DriveSession(const Drive& drive, const Account& account, const Proxy& proxy, bool isQuiet);

  /// The address at which the user grants access.
  std::string authorizeUrl() const;

  /// The address at which the user signs out; empty if the service has none.
  std::string logoutUrl() const;

  /// Exchanges an authorization code for tokens. The returned account has the current time.
  Account link(const std::string& code) const;

  /// Makes the library log the name of the account's holder. The drive must have this function.
  void logAccountHolder() const;

  Folder root() const;

  /// @param path  The name of the parent in messages.
  std::vector<Folder> foldersIn(const Folder& parent, const std::string& path) const;

  /// @param path  The name of the new folder in messages.
  Folder makeFolder(const Folder& parent, const std::string& name, const std::string& path) const;

 private:
  void use(const Account& account);
  /// @param advice  What the message of a failure says besides, before other advice.
  void require(const std::string& action, const std::function<int()>& call,
               std::string advice = "") const;

  const Drive& drive_;
  bool isQuiet_;
  bool hasStoredTokens_ = false;
  SessionGuard session_;
};

}  // namespace tool
