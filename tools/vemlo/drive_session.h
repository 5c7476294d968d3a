#pragma once

#include <libvemlo.h>

#include <functional>
#include <string>
#include <vector>

#include "account_file.h"
#include "drives.h"
#include "proxy.h"
#include "session_guard.h"

namespace vemlo {

struct Folder {
  std::string name;
  std::string id;
};

/// The account that is linked. Throws Failure if there is none.
Account linkedAccount(const Drive& drive);

/// A session with a drive. What fails is thrown as Failure.
class DriveSession {
 public:
  /// Not authorized until `link`.
  ///
  /// @param isQuiet  Whether no progress is shown.
  DriveSession(const Drive& drive, const Proxy& proxy, bool isQuiet);

  /// Authorized as the account.
  DriveSession(const Drive& drive, const Account& account, const Proxy& proxy, bool isQuiet);

  /// Where the user grants access.
  std::string authorizeUrl() const;

  /// Where the user signs out; empty if the service has no such address.
  std::string logoutUrl() const;

  /// Trades an authorization code for tokens. The account is linked as of now.
  Account link(const std::string& code) const;

  /// Lets the library log whose account it is; the drive must offer that.
  void logAccountHolder() const;

  Folder root() const;

  /// @param path  What to call the parent in messages.
  std::vector<Folder> foldersIn(const Folder& parent, const std::string& path) const;

  /// @param path  What to call the new folder in messages.
  Folder makeFolder(const Folder& parent, const std::string& name, const std::string& path) const;

 private:
  void use(const Account& account);
  void require(const std::string& action, const std::function<int()>& call) const;

  const Drive& drive_;
  bool isQuiet_;
  bool hasStoredTokens_ = false;
  SessionGuard session_;
};

}  // namespace vemlo
