#pragma once

#include <map>
#include <string>

namespace vemlo {

/// A linked account, as it is kept. The tokens are enciphered.
struct Account {
  /// When it was linked: UTC, as in 2026-11-21T05:10:00Z.
  std::string linked;
  std::string accessToken;
  std::string refreshToken;
};

/// The linked accounts by the names of their services, from $XDG_CONFIG_HOME/vemlo/accounts.json or
/// ~/.config/vemlo/accounts.json; none if there is no such file. Throws Failure if it cannot be
/// read or is damaged.
std::map<std::string, Account> readAccounts();

/// Keeps an account, instead of the one that the service had before. Whatever else the file holds
/// stays as it is by then, also if another process changes it at the same time. Throws Failure like
/// `readAccounts`, and if the file cannot be written; it is then as it was before.
///
/// @return Whether the service had one before.
bool storeAccount(const std::string& service, const Account& account);

/// Forgets the account of a service, in the same manner.
///
/// @return Whether the service had one.
bool removeAccount(const std::string& service);

}  // namespace vemlo
