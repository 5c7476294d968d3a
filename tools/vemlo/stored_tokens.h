#pragma once

#include <libvemlo.hpp>
#include <string>

#include "account_file.h"
#include "open_library.h"

namespace tool {

/// A drive's account that has just been linked.
Account accountWith(const vemlo::Tokens& tokens, const std::string& service);

/// The tokens of a linked drive. Those that the service renews are stored at once, unless the
/// stored account is no longer the one that this process has read or written last: another process
/// has renewed the tokens or linked the account again.
class StoredTokens {
 public:
  /// Throws CommandFailure if the tokens cannot be decrypted. No call may run after the end of this
  /// object.
  StoredTokens(OpenLibrary& library, std::string name, Account account);
  StoredTokens(const StoredTokens&) = delete;
  StoredTokens& operator=(const StoredTokens&) = delete;

  const vemlo::Tokens& tokens() const { return tokens_; }

  /// Takes over the stored tokens if they are no longer those that this process has read or written
  /// last. Throws CommandFailure if they cannot be read.
  ///
  /// @return Whether they are others.
  bool takeNewer();

 private:
  void store(const vemlo::RenewedTokens& renewed);

  std::string name_;
  Account account_;
  vemlo::Tokens tokens_;
};

}  // namespace tool
