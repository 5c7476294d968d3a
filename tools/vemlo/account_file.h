#pragma once

#include <map>
#include <string>

namespace tool {

/// A linked account as it is stored.
struct Account {
  /// The name of the service, such as "google-drive" or "s3".
  std::string service;
  /// The time at which it was linked, in UTC, such as 2026-11-21T05:10:00Z.
  std::string linked;
  /// What the service needs, by the names in the file. Tokens and secret keys are encrypted.
  std::map<std::string, std::string> values;
};

bool operator==(const Account& left, const Account& right);

/// An account of this service that is linked now, without values.
Account newAccount(const std::string& service);

using Accounts = std::map<std::string, Account>;

/// The linked accounts by name, from $XDG_CONFIG_HOME/vemlo/accounts.json or
/// ~/.config/vemlo/accounts.json. Empty if the file does not exist. Throws CommandFailure if the
/// file cannot be read, is accessible to other users, or is damaged.
Accounts readAccounts();

/// The linked accounts in the content of such a file. Throws CommandFailure if it is damaged; the
/// message contains `file`, the file's name.
Accounts parseAccounts(const std::string& text, const std::string& file);

/// Stores an account in place of the previous one of this name. The rest of the file is preserved,
/// including concurrent changes by other processes. Throws CommandFailure as `readAccounts` does,
/// and if the file cannot be written or the user interrupts a wait for another process; it is then
/// unchanged.
///
/// @return Whether there was an account of this name before.
bool storeAccount(const std::string& name, const Account& account);

/// Changes the values of an account from those of `before` to those of `after`, with the guarantees
/// and failures of `storeAccount`, except that an interruption does not end it.
///
/// @return False if the stored account is not `before`; nothing is changed then.
bool updateAccount(const std::string& name, const Account& before, const Account& after);

/// Removes an account, with the guarantees and failures of `storeAccount`.
///
/// @return Whether there was an account of this name.
bool removeAccount(const std::string& name);

}  // namespace tool
