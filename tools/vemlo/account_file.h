#pragma once

#include <map>
#include <string>

namespace tool {

/// A linked account as it is stored. The tokens are encrypted.
struct Account {
  /// The time at which it was linked, in UTC, such as 2026-11-21T05:10:00Z.
  std::string linked;
  std::string accessToken;
  std::string refreshToken;
};

/// The linked accounts by the names of their services, from $XDG_CONFIG_HOME/vemlo/accounts.json or
/// ~/.config/vemlo/accounts.json. Empty if the file does not exist. Throws CommandFailure if the file
/// cannot be read, is accessible to other users, or is damaged.
std::map<std::string, Account> readAccounts();

/// The linked accounts in the content of such a file. Throws CommandFailure if it is damaged; the message
/// contains `file`, the file's name.
std::map<std::string, Account> parseAccounts(const std::string& text, const std::string& file);

/// Stores an account in place of the service's previous one. The rest of the file is preserved,
/// including concurrent changes by other processes. Throws CommandFailure as `readAccounts` does, and if
/// the file cannot be written; it is then unchanged.
///
/// @return Whether the service had an account before.
bool storeAccount(const std::string& service, const Account& account);

/// Removes the account of a service, with the same guarantees and failures as `storeAccount`.
///
/// @return Whether the service had an account.
bool removeAccount(const std::string& service);

}  // namespace tool
